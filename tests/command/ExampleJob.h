// ExampleJob - the job that the README runs, in a folder of its own.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "Program.h"
#include "TempFolder.h"

class ExampleJob : public TempFolder {
 public:
  ExampleJob() {
    namespace fs = std::filesystem;
    fs::copy(fs::path(ODAXGEN_SOURCE_FOLDER) / "examples/newsletter", path("newsletter"),
             fs::copy_options::recursive);
    for (const char* name : {"newsletter", "newsletter-one-packet"}) {
      fs::remove(path("newsletter/" + std::string(name) + ".odx"));
      const ProgramResult run = runOdaxgen({"newsletter/" + std::string(name) + ".cfg"}, path());
      EXPECT_EQ(run.exitCode, 0) << run.err;
      EXPECT_EQ(run.err, "");
    }
  }
};
