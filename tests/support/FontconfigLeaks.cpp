/// Pango matches fonts on a thread of its own. The end of the process may cut it off with patterns of
/// fontconfig's in hand, which the leak sanitizer then counts as lost.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:libfontconfig\n"; }
