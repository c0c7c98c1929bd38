"""How Sphinx makes the site of the documents, and the help in the plugin, which has the tag "help"; script/site and
platforms/package/help run it."""

import pathlib
import re

from docutils import nodes
from pygments.lexers.dotnet import VbNetLexer
from pygments.token import Keyword, Name
from sphinx.addnodes import pending_xref

project = "Vornik"
release = re.search(r"VERSION ([\d.]+) LANGUAGES", pathlib.Path("../../CMakeLists.txt").read_text())[1]
is_help = tags.has("help")  # the tags are Sphinx's
extensions = ["myst_parser"]
include_patterns = ["*.md"] if is_help else ["index.md", "INSTALL.md", "CONTRIBUTING.md", "CHANGELOG.md", "docs/*.md", "docs/reference/*.md"]
myst_heading_anchors = 4  # as the forges make them, so that one link serves both
suppress_warnings = ["myst.header"]  # pages may begin below a first heading

html_theme = "furo"
html_title = f"Vornik {release}"
html_use_index = False
html_copy_source = False
html_show_search_summary = not is_help  # a page may not read another one from its file
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


def is_of_the_sources(node):
    """Whether this is of use only to a reader who has the sources: the console, and commands."""
    if isinstance(node, pending_xref):
        return node["reftarget"].startswith("stand-in-host")
    return isinstance(node, (nodes.literal, nodes.literal_block)) and \
        node.astext().startswith(("script/", "--keep", "vornik-host", "VORNIK_"))


def leave_out_the_sources(app, doctree):
    """Takes out examples in Lua with what they print, the questions about the console, and sentences about commands."""
    for section in list(doctree.findall(nodes.section)):
        if section[0].astext() == "With the console":
            section.parent.remove(section)
    for block in list(doctree.findall(nodes.literal_block)):
        if block["language"] == "lua":
            after = block.next_node(descend=False, siblings=True)
            if isinstance(after, nodes.literal_block) and after["language"] == "text":
                after.parent.remove(after)
        if is_of_the_sources(block):  # what announces it goes along
            at = block.parent.index(block)
            if at and block.parent[at - 1].astext().endswith(":"):
                block.parent.pop(at - 1)
        if block["language"] == "lua" or is_of_the_sources(block):
            block.parent.remove(block)
    for paragraph in list(doctree.findall(nodes.paragraph)):
        if not any(map(is_of_the_sources, paragraph.children)):
            continue
        sentences = [[]]
        for child in paragraph.children:
            parts = re.split(r"(?<=[.?!])\s+", child) if isinstance(child, nodes.Text) else [child]
            for i, part in enumerate(parts):
                if i:
                    sentences[-1].append(nodes.Text(" "))
                    sentences.append([])
                sentences[-1].append(nodes.Text(part) if isinstance(part, str) else part)
        kept = [node for sentence in sentences if not any(map(is_of_the_sources, sentence)) for node in sentence]
        paragraph.children = []
        paragraph += kept
        if not paragraph.astext().strip():
            paragraph.parent.remove(paragraph)


def setup(app):
    if is_help:
        app.connect("doctree-read", leave_out_the_sources, priority=100)  # ahead of the contents and the search
    app.add_lexer("xojo", HostLexer)
