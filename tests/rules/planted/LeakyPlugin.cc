// Exports more than its two entry points, as a library without a version script does.
extern "C" __attribute__((visibility("default"))) void* CreatePlugin() { return nullptr; }
extern "C" __attribute__((visibility("default"))) void ReleasePlugin() {}
extern "C" __attribute__((visibility("default"))) int FurtherSymbol() { return 1; }
