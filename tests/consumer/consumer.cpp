// A host in its smallest form: it runs one job and reports the thrown code.
#include <odaxgen/ODAXGen.h>

#include <cstdio>

int main(int argc, char** argv) {
  try {
    return makeODAXData(argc > 1 ? argv[1] : "/no-such-folder/job.cfg");
  } catch (int code) {
    std::printf("code %d\n", code);
    return 1;
  }
}
