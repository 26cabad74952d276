// Read by LeakSanitizer at start-up in the sanitizer builds; unused otherwise. GLib keeps a
// buffer it allocates while the dynamic loader initialises it; that is GLib's, not ours, and
// only full stacks show where it came from.
extern "C" const char* __lsan_default_suppressions() { return "leak:_dl_init\n"; }
extern "C" const char* __asan_default_options() { return "fast_unwind_on_malloc=0"; }
// GLib, GStreamer and their codecs hand buffers between threads with atomic operations compiled
// into libraries ThreadSanitizer did not instrument, so it would take the copies they make of
// those buffers for races. Only what these libraries do themselves is ignored: a race in which
// our own code takes part is still reported.
extern "C" const char* __tsan_default_options() { return "ignore_noninstrumented_modules=1"; }
// Debian's cpp-httplib, the test servers' library, is compiled without the thread checker; its
// worker threads share buffers under its own locks, which the checker cannot see. Only copies
// and comparisons made inside that library are ignored.
extern "C" const char* __tsan_default_suppressions() {
  return "called_from_lib:libcpp-httplib.so\n";
}
