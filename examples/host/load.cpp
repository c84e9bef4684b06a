// load - a host that does without the library until it needs it: it loads the shared library by
// name and finds the one operation in it.
//
// usage: load-host LIBRARY CONFIGURATION...
#include <dlfcn.h>

#include <cstdio>
#include <filesystem>

namespace {

using MakeOdaxData = int (*)(const char* configurationPath);

// Null, with a message, when there is no such library or it is another one.
MakeOdaxData load(const char* path) {
  // Never closed: the library may still hold the output of a job that ended with a text.
  void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  void* symbol = library == nullptr ? nullptr : dlsym(library, "makeODAXData");
  if (symbol == nullptr) std::fprintf(stderr, "%s\n", dlerror());
  return reinterpret_cast<MakeOdaxData>(symbol);
}

bool run(MakeOdaxData makeODAXData, const char* configuration) {
  try {
    makeODAXData(std::filesystem::absolute(configuration).c_str());
    return true;
  } catch (int code) {
    std::fprintf(stderr, "%s: failed, code %d\n", configuration, code);
  } catch (const char* text) {
    std::fprintf(stderr, "%s: failed, %s\n", configuration, text);
  }
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: load-host LIBRARY CONFIGURATION...\n");
    return 2;
  }
  const MakeOdaxData makeODAXData = load(argv[1]);
  if (makeODAXData == nullptr) return 1;
  bool areAllDone = true;
  for (int i = 2; i < argc; ++i) areAllDone = run(makeODAXData, argv[i]) && areAllDone;
  return areAllDone ? 0 : 1;
}
