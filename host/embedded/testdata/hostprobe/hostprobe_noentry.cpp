// A shared object that is not a module: it lacks acrxEntryPoint.
extern "C" int hostprobe_noentry_marker() {
  return 42;
}
