// What the sanitizers find in OpenNI itself is not for us to mend: it deletes what it allocated
// with another size or another function, and leaks. Options of the environment come on top of
// these. NOLINTBEGIN: the sanitizers' names.
extern "C" {
[[gnu::visibility("default")]] const char* __asan_default_options() {
  return "new_delete_type_mismatch=0:alloc_dealloc_mismatch=0:detect_leaks=1";
}
[[gnu::visibility("default")]] const char* __lsan_default_suppressions() {
  return "leak:libOpenNI.so\nleak:libnim\n";
}
}
// NOLINTEND
