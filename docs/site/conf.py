"""How Sphinx makes the site of the documents; script/site runs it."""

from pygments.lexers.dotnet import VbNetLexer
from pygments.token import Keyword, Name

project = "Vornik"
extensions = ["myst_parser"]
include_patterns = ["index.md", "INSTALL.md", "CONTRIBUTING.md", "CHANGELOG.md", "docs/*.md", "docs/reference/*.md"]
myst_heading_anchors = 4  # as the forges make them, so that one link serves both
suppress_warnings = ["myst.header"]  # pages may begin below a first heading

html_theme = "furo"
html_title = "Vornik"
html_use_index = False
html_copy_source = False
html_show_copyright = False
html_show_sphinx = False
html_static_path = ["site.css"]
html_css_files = ["site.css"]
pygments_style = "xcode"
pygments_dark_style = "native"

# Debian's copy of the theme has lost its dark colours for readers whose system is dark: they are given here again.
html_theme_options = {
    "dark_css_variables": {
        "color-foreground-primary": "#ffffffcc",
        "color-foreground-secondary": "#9ca0a5",
        "color-foreground-muted": "#81868d",
        "color-foreground-border": "#666666",
        "color-background-primary": "#131416",
        "color-background-secondary": "#1a1c1e",
        "color-background-hover": "#1e2124ff",
        "color-background-hover--transparent": "#1e212400",
        "color-background-border": "#303335",
        "color-brand-primary": "#2b8cee",
        "color-brand-content": "#4a9ff0",
        "color-highlighted-background": "#083563",
        "color-highlight-on-target": "#333300",
        "color-card-background": "#18181a",
    }
}


class HostLexer(VbNetLexer):
    """The host's language is close enough to the one that there is a lexer for."""

    name = "Xojo"
    words = {"var", "wend", "downto", "isa"}

    def get_tokens_unprocessed(self, text):
        for index, token, value in super().get_tokens_unprocessed(text):
            if token in Name and value.lower() in self.words:
                token = Keyword
            yield index, token, value


def setup(app):
    app.add_lexer("xojo", HostLexer)
