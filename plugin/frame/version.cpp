namespace vornik {

// Nothing reads it at run time: it is for strings and what, which find the version in a library that
// lies about.
[[gnu::used]] static const char kIdentification[] = "@(#)Vornik " VORNIK_VERSION;

}  // namespace vornik
