// The shared library as a desktop host uses it: loaded at run time, entered by name.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "Capture.h"
#include "Program.h"
#include "TempFolder.h"

namespace {

TEST(LoadByName, TheEntryIsTheOnlyExportedSymbol) {
  const TempFolder folder;
  const ProgramResult nm = runProgram(
      {"/bin/sh", "-c", "nm -D --defined-only '" ODAXGEN_LOADABLE "' | awk '{print $3}'"},
      folder.path());
  EXPECT_EQ(nm.exitCode, 0) << nm.err;
  EXPECT_EQ(nm.out, "makeODAXData\n");
}

TEST(LoadByName, AFailedJobThrowsItsCodeAcrossTheLibrarysBorder) {
  using Library = std::unique_ptr<void, int (*)(void*)>;
  const Library library(dlopen(ODAXGEN_LOADABLE, RTLD_NOW | RTLD_LOCAL), dlclose);
  ASSERT_NE(library, nullptr) << dlerror();
  const auto entry = reinterpret_cast<int (*)(const char*)>(dlsym(library.get(), "makeODAXData"));
  ASSERT_NE(entry, nullptr);
  Capture capture;
  try {
    entry("/no-such-folder/job.cfg");
    ADD_FAILURE() << "the job cannot have run";
  } catch (int code) {
    EXPECT_EQ(code, -3);
  }
  EXPECT_EQ(capture.err(), "ERROR!: Can't open file \"/no-such-folder/job.cfg\"\n");
}

}  // namespace
