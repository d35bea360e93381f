// A language library as far as the plug-in is concerned: a module that loads.
extern "C"
#if defined(_WIN32)
    __declspec(dllexport)
#else
    __attribute__((visibility("default")))
#endif
    int VekTestResourceMarker() {
  return 7;
}
