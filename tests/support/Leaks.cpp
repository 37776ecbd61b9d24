// What libraries never give back, for the leak checker of the sanitized build: frames of theirs
// alone. Asked for by the checker, where it is linked in.

extern "C" const char* __lsan_default_suppressions() {
  return
      // The C library keeps the path in LOCPATH for good.
      "leak:argz_add_sep\n"
      // GEOS interrupted in a buffer leaves its noder behind.
      "leak:geos::operation::buffer::BufferBuilder::getNoder\n";
}
/// Without a table of the above on the error stream, which tests read.
extern "C" const char* __lsan_default_options() { return "print_suppressions=0"; }
