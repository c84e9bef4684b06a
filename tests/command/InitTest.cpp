// odaxgen init, through the binary.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "PngReader.h"
#include "Program.h"
#include "TempFolder.h"

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

namespace fs = std::filesystem;

// In the order in which they are named.
const std::vector<std::string> kFiles = {"README.txt",
                                         "job.cfg",
                                         "templates/StartJob.xml",
                                         "templates/SetJobConfiguration.xml",
                                         "templates/SetConfiguration.xml",
                                         "templates/VendorCmd.xml",
                                         "templates/SendData.xml",
                                         "templates/EndJob.xml",
                                         "page-K.tif",
                                         "page-C.tif",
                                         "page-M.tif",
                                         "page-Y.tif"};

class InitTest : public testing::Test {
 protected:
  [[nodiscard]] ProgramResult odaxgen(const std::vector<std::string>& arguments) const {
    return runOdaxgen(arguments, folder.path());
  }
  void init(const std::string& name) const {
    const ProgramResult result = odaxgen({"init", name});
    ASSERT_EQ(result.exitCode, 0) << result.err;
  }
  // Everything below the folder of the test, folders included.
  [[nodiscard]] std::vector<std::string> all() const {
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder.path())) {
      names.push_back(fs::relative(entry.path(), folder.path()).string());
    }
    std::sort(names.begin(), names.end());
    return names;
  }
  void replaceInConfiguration(const std::string& from, const std::string& to) const {
    std::string text = folder.text("starter/job.cfg");
    size_t count = 0;
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + 1)) {
      text.replace(at, from.size(), to);
      ++count;
    }
    ASSERT_GT(count, 0U) << from;
    folder.write("starter/job.cfg", text);
  }

  TempFolder folder;
};

TEST_F(InitTest, NamesWhatItWroteAndWhatToTypeNext) {
  const ProgramResult result = odaxgen({"init", "starter"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "");
  std::string written;
  for (const std::string& file : kFiles) written += "starter/" + file + "\n";
  EXPECT_EQ(result.out,
            written +
                "\n"
                "What to type next:\n"
                "  odaxgen check starter/job.cfg\n"
                "  odaxgen run starter/job.cfg\n"
                "  odaxgen verify starter/job.cfg\n"
                "  odaxgen render starter/job.odx -o starter/pictures --config starter/job.cfg\n");
  for (const std::string& file : kFiles) EXPECT_TRUE(folder.exists("starter/" + file)) << file;
  EXPECT_EQ(all().size(), kFiles.size() + 2);  // and two folders
}

TEST_F(InitTest, TheJobRunsFromAnywhereAndVerifiesAsIdentical) {
  init("starter");
  EXPECT_EQ(odaxgen({"run", "starter/job.cfg"}).exitCode, 0);
  const ProgramResult verified = odaxgen({"verify", "starter/job.cfg"});
  EXPECT_EQ(verified.exitCode, 0) << verified.err;
  EXPECT_EQ(verified.out, "1 page, 4 planes, 1,920,000 pixels: identical\n");
}

// Whatever the notes of the configuration propose to try.
TEST_F(InitTest, TheJobRunsWithTheProposedChanges) {
  struct Case {
    const char* name;
    const char* from;
    const char* to;
  };
  const Case cases[] = {
      {"one packet", "SplitDataSize = 65536", "SplitDataSize = 0"},
      {"no vendor command", "\nVendorCmdXmlFile", "\n# VendorCmdXmlFile"},
      {"no printable width", "\nPrintableWidthInPixel", "\n# PrintableWidthInPixel"},
      {"four levels", " = 8\n", " = 2\n"},
      {"sixteen levels", " = 8\n", " = 4\n"},
      {"uncompressed", "CompressionMode = 2", "CompressionMode = 0"},
      {"differences", "CompressionMode = 2", "CompressionMode = 3"},
      {"differences or PackBits", "CompressionMode = 2", "CompressionMode = 256"},
      {"HXRC", "CompressionMode = 2", "CompressionMode = 4"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    fs::remove_all(folder.path("starter"));
    init("starter");
    replaceInConfiguration(c.from, c.to);
    const ProgramResult run = odaxgen({"run", "-q", "starter/job.cfg"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(odaxgen({"verify", "starter/job.cfg"}).out,
              "1 page, 4 planes, 1,920,000 pixels: identical\n");
  }
}

TEST_F(InitTest, ASecondPageTakesItsFormatFromTheFirst) {
  init("starter");
  folder.write("starter/job.cfg",
               folder.text("starter/job.cfg") + "[Image]\nImageFileK = \"page-K.tif\"\n");
  EXPECT_EQ(odaxgen({"run", "-q", "starter/job.cfg"}).exitCode, 0);
  EXPECT_THAT(odaxgen({"verify", "starter/job.cfg"}).out,
              AllOf(StartsWith("2 pages, 8 planes, "), EndsWith(": identical\n")));
}

TEST_F(InitTest, TheConfigurationPassesTheStrictCheck) {
  init("starter");
  const ProgramResult result = odaxgen({"check", "--strict", "starter/job.cfg"});
  EXPECT_EQ(result.exitCode, 0) << result.out << result.err;
}

TEST_F(InitTest, TheOverridesReachThePackets) {
  init("starter");
  EXPECT_EQ(odaxgen({"run", "-q", "starter/job.cfg"}).exitCode, 0);
  const std::string job = folder.text("starter/job.odx");
  EXPECT_THAT(job, HasSubstr("<job:JobName>My first job</job:JobName>"));
  EXPECT_THAT(job, HasSubstr("<job:Copies>2</job:Copies>"));
  EXPECT_THAT(job, HasSubstr("<job:Option name=\"Quality\">fine</job:Option>"));
  EXPECT_THAT(job, testing::Not(HasSubstr("job:Proof")));
  EXPECT_THAT(folder.text("starter/templates/StartJob.xml"), HasSubstr("<job:Proof>"));
}

TEST_F(InitTest, ThePageShowsEachInkFromNoneToFull) {
  init("starter");
  EXPECT_EQ(odaxgen({"run", "-q", "starter/job.cfg"}).exitCode, 0);
  const ProgramResult drawn =
      odaxgen({"render", "starter/job.odx", "-o", "pictures", "--config", "starter/job.cfg"});
  EXPECT_EQ(drawn.exitCode, 0) << drawn.err;
  for (const char* ink : {"K", "C", "M", "Y"}) {
    SCOPED_TRACE(ink);
    const PngPicture picture = readPng(folder.path(std::string("pictures/page-1-") + ink + ".png"));
    EXPECT_EQ(picture.width, 600U);
    EXPECT_EQ(picture.height, 800U);
    const auto [least, most] = std::minmax_element(picture.pixels.begin(), picture.pixels.end());
    EXPECT_EQ(*least, 0);
    EXPECT_EQ(*most, 255);
  }
}

TEST_F(InitTest, TwoCallsWriteTheSameBytes) {
  init("one");
  init("two");
  for (const std::string& file : kFiles) {
    EXPECT_NE(folder.text("one/" + file), "") << file;
    EXPECT_EQ(folder.text("one/" + file), folder.text("two/" + file)) << file;
  }
}

// What a template must keep to, so that it reaches the job file whole.
TEST_F(InitTest, TemplateLinesAreShortAndEachHoldsAWholeElement) {
  init("starter");
  for (const std::string& file : kFiles) {
    if (!file.starts_with("templates/")) continue;
    std::istringstream text(folder.text("starter/" + file));
    for (std::string line; std::getline(text, line);) {
      EXPECT_LT(line.size(), 256U) << file;
      if (line.find("datasize") == std::string::npos) continue;
      EXPECT_EQ(line, "  <job:datasize>0</job:datasize>");
    }
  }
}

TEST_F(InitTest, TextsAreAsciiInLinesOf100ColumnsAtMost) {
  init("starter");
  for (const char* file : {"README.txt", "job.cfg"}) {
    std::istringstream text(folder.text(std::string("starter/") + file));
    for (std::string line; std::getline(text, line);) {
      EXPECT_LE(line.size(), 100U) << line;
      for (const char c : line) EXPECT_TRUE(c >= ' ' && c <= '~') << line;
    }
  }
}

TEST_F(InitTest, TheReadmeNamesEveryFileAndTheNextCommands) {
  init("starter");
  const std::string readme = folder.text("starter/README.txt");
  for (const std::string& file : kFiles) {
    if (file == "README.txt") continue;
    EXPECT_THAT(readme, HasSubstr(file));
  }
  size_t place = 0;
  for (const char* next :
       {"\n  odaxgen check job.cfg\n", "\n  odaxgen run job.cfg\n", "\n  odaxgen verify job.cfg\n",
        "\n  odaxgen render job.odx -o pictures --config job.cfg\n"}) {
    place = readme.find(next, place);
    ASSERT_NE(place, std::string::npos) << next;
  }
}

TEST_F(InitTest, MissingParentsAreMade) {
  init("jobs/2026/starter");
  EXPECT_EQ(odaxgen({"run", "-q", "jobs/2026/starter/job.cfg"}).exitCode, 0);
}

TEST_F(InitTest, AnEmptyFolderIsTaken) {
  fs::create_directory(folder.path("starter"));
  const ProgramResult result = odaxgen({"init", "starter/"});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_THAT(result.out, StartsWith("starter/README.txt\n"));
}

TEST_F(InitTest, TheCurrentFolderIsTakenWhenItIsEmpty) {
  const ProgramResult result = odaxgen({"init", "."});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_TRUE(folder.exists("job.cfg"));
  EXPECT_EQ(odaxgen({"init", "."}).exitCode, 1);
  EXPECT_EQ(odaxgen({"init", "new/.."}).exitCode, 1);
  EXPECT_FALSE(folder.exists("new"));
}

TEST_F(InitTest, AFolderThatIsNotEmptyIsRefusedAndLeftAlone) {
  folder.write("starter/notes", "mine");
  const ProgramResult result = odaxgen({"init", "starter"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "odaxgen: starter: the folder is not empty\n");
  EXPECT_EQ(all(), (std::vector<std::string>{"starter", "starter/notes"}));
  EXPECT_EQ(folder.text("starter/notes"), "mine");
}

TEST_F(InitTest, AFileInPlaceOfTheFolderIsRefused) {
  folder.write("starter", "mine");
  const ProgramResult result = odaxgen({"init", "starter"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err, "odaxgen: starter: is not a folder\n");
  EXPECT_EQ(folder.text("starter"), "mine");
}

TEST_F(InitTest, AFolderBelowAFileCannotBeMade) {
  folder.write("file", "mine");
  for (const char* name : {"file/starter", "file/jobs/starter/", "file/"}) {
    const ProgramResult result = odaxgen({"init", name});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "odaxgen: file: is not a folder\n");
    EXPECT_EQ(all(), std::vector<std::string>{"file"});
  }
}

TEST_F(InitTest, AFolderThatMayNotBeWrittenToIsAFailure) {
  if (geteuid() == 0) GTEST_SKIP() << "root may write everywhere";
  fs::create_directory(folder.path("closed"));
  fs::permissions(folder.path("closed"), fs::perms::owner_read | fs::perms::owner_exec);
  const ProgramResult result = odaxgen({"init", "closed"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err, "odaxgen: closed/README.txt: Permission denied\n");
}

// A limit on the size of files stands for a full disk: texts fit, the first picture does not.
TEST_F(InitTest, AWriteThatFailsLeavesNothingBehind) {
  const std::string limited = std::string("ulimit -f 16; exec ") + ODAXGEN_PROGRAM + " init ";
  for (const char* name : {"starter", "jobs/2026/starter"}) {
    const ProgramResult result = runProgram({"/bin/sh", "-c", limited + name}, folder.path());
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "odaxgen: " + std::string(name) + "/page-K.tif: File too large\n");
    EXPECT_THAT(all(), IsEmpty());
  }
  fs::create_directory(folder.path("mine"));
  EXPECT_EQ(runProgram({"/bin/sh", "-c", limited + "mine"}, folder.path()).exitCode, 1);
  EXPECT_EQ(all(), std::vector<std::string>{"mine"});  // it was there before
}

TEST_F(InitTest, APathThatIsTooLongForAJobIsRefused) {
  const std::string name(259 - folder.path().size() - 1, 'x');
  const ProgramResult result = odaxgen({"init", name});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err, "odaxgen: " + name + ": the path is too long for a job\n");
  EXPECT_THAT(all(), IsEmpty());
}

TEST_F(InitTest, TheLongestPathThatIsTakenRuns) {
  const size_t longest = std::string("/templates/SetJobConfiguration.xml").size();
  const std::string name(259 - folder.path().size() - 1 - longest, 'x');
  init(name);
  EXPECT_EQ(odaxgen({"run", "-q", name + "/job.cfg"}).exitCode, 0);
  EXPECT_EQ(odaxgen({"init", name + "x"}).exitCode, 1);
}

TEST_F(InitTest, TheNextCommandsWorkAsTheyArePrinted) {
  const std::string bin = folder.path("bin");
  fs::create_directory(bin);
  fs::create_symlink(ODAXGEN_PROGRAM, bin + "/odaxgen");
  for (const char* name : {"starter", "two words", "it's #1: \\ $HOME", "-dash", "sub/-dash"}) {
    SCOPED_TRACE(name);
    const ProgramResult written = odaxgen({"init", "--", name});
    ASSERT_EQ(written.exitCode, 0) << written.err;
    const std::string title = "What to type next:\n";
    const std::string next = written.out.substr(written.out.find(title) + title.size());
    std::string script = "set -e\nPATH='" + bin;
    script.append("':$PATH\n").append(next);
    const ProgramResult result = runProgram({"/bin/sh", "-c", script}, folder.path());
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(folder.exists(name + std::string("/pictures/page-1.png")));
  }
}

TEST_F(InitTest, WithoutANameItIsWrongUsage) {
  const ProgramResult missing = odaxgen({"init"});
  EXPECT_EQ(missing.exitCode, 2);
  EXPECT_EQ(missing.err, "odaxgen: FOLDER is required\ntry 'odaxgen init --help'\n");
  const ProgramResult empty = odaxgen({"init", ""});
  EXPECT_EQ(empty.exitCode, 2);
  EXPECT_EQ(empty.err, "odaxgen: FOLDER: the name is empty\ntry 'odaxgen init --help'\n");
  EXPECT_EQ(odaxgen({"init", "a", "b"}).exitCode, 2);
  EXPECT_THAT(all(), IsEmpty());
}

}  // namespace
