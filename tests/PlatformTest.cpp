// Tests of the platform's folders on a system without bundle services, and of the thin wrappers
// around the C library.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "CLibrary.h"
#include "Capture.h"
#include "Faults.h"
#include "Mac_Depend.h"
#include "TempFolder.h"

namespace {

// The folder of this test program, asked of the system in the test's own way.
std::string programFolder() {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path().string();
}

// The result of a call that fills a buffer of exactly `cap` bytes, which held "old".
struct Answer {
  int32_t result = 0;
  std::string text;
  bool operator==(const Answer&) const = default;
};

void PrintTo(const Answer& answer, std::ostream* out) {
  *out << answer.result << " \"" << answer.text << '"';
}

using PathCall = int32_t (*)(const char*, int32_t, char*);

Answer ask(PathCall call, const char* path, size_t cap) {
  const std::unique_ptr<char[]> out(new char[cap]);
  std::memcpy(out.get(), "old", 4);
  const int32_t result = call(path, static_cast<int32_t>(cap), out.get());
  return {result, out.get()};
}

class FullPath : public testing::TestWithParam<PathCall> {};

TEST_P(FullPath, AnAbsolutePathIsTakenAsItIs) {
  for (const char* const path : {"/", "/a", "/a/../b//c/./d", "/with blank/\xC3\xA4"}) {
    SCOPED_TRACE(path);
    EXPECT_EQ(ask(GetParam(), path, 260), (Answer{0, path}));
  }
}

TEST_P(FullPath, ARelativePathStartsAtTheProgramsFolder) {
  const std::string folder = programFolder() + "/";
  for (const char* const path :
       {"job.cfg", "a/b.tif", "./a", "../a", "a/../b", "a//b", ".", "with blank", "\xC3\xA4"}) {
    SCOPED_TRACE(path);
    EXPECT_EQ(ask(GetParam(), path, 1024), (Answer{0, folder + path}));
  }
}

TEST_P(FullPath, TheCurrentFolderDoesNotMatter) {
  const TempFolder elsewhere;
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(elsewhere.path());
  const Answer answer = ask(GetParam(), "job.cfg", 1024);
  std::filesystem::current_path(before);
  EXPECT_EQ(answer, (Answer{0, programFolder() + "/job.cfg"}));
}

TEST_P(FullPath, NullIsRefusedAndTheBufferLeftAlone) {
  EXPECT_EQ(ask(GetParam(), nullptr, 260), (Answer{-1, "old"}));
}

TEST_P(FullPath, APathThatFillsTheBufferFitsAndOneMoreByteDoesNot) {
  const std::string absolute = "/" + std::string(258, 'a');
  EXPECT_EQ(ask(GetParam(), absolute.c_str(), 260), (Answer{0, absolute}));
  EXPECT_EQ(ask(GetParam(), (absolute + "b").c_str(), 260), (Answer{-1, ""}));
  const std::string relative = programFolder() + "/job.cfg";
  EXPECT_EQ(ask(GetParam(), "job.cfg", relative.size() + 1), (Answer{0, relative}));
  EXPECT_EQ(ask(GetParam(), "job.cfg", relative.size()), (Answer{-1, ""}));
}

TEST_P(FullPath, APathOfAnyLengthIsRefusedNotCut) {
  const std::string endless(100000, 'a');
  EXPECT_EQ(ask(GetParam(), endless.c_str(), 260), (Answer{-1, ""}));
  EXPECT_EQ(ask(GetParam(), ("/" + endless).c_str(), 260), (Answer{-1, ""}));
}

INSTANTIATE_TEST_SUITE_P(Platform, FullPath, testing::Values(&GetFullPathMac, &GetFullPath),
                         [](const testing::TestParamInfo<PathCall>& tested) {
                           return tested.index == 0 ? "GetFullPathMac" : "GetFullPath";
                         });

// TMPDIR while it lives; null unsets it.
class TmpDir {
 public:
  explicit TmpDir(const char* value) {
    if (const char* const old = std::getenv("TMPDIR")) before_ = old;
    set(value);
  }
  ~TmpDir() { set(before_ ? before_->c_str() : nullptr); }
  TmpDir(const TmpDir&) = delete;
  TmpDir& operator=(const TmpDir&) = delete;

 private:
  static void set(const char* value) {
    if (value != nullptr) {
      setenv("TMPDIR", value, 1);
    } else {
      unsetenv("TMPDIR");
    }
  }
  std::optional<std::string> before_;
};

std::string tempFolder(size_t cap) {
  const std::unique_ptr<char[]> out(new char[cap]);
  std::memset(out.get(), '#', cap);
  GetTempFolderMac(out.get(), static_cast<int32_t>(cap));
  return out.get();
}

TEST(TempFolderMac, IsTMPDIROrTmpAndEndsWithASlash) {
  struct Case {
    const char* name;
    const char* value;
    const char* want;
  };
  const Case kCases[] = {
      {"not set", nullptr, "/tmp/"},
      {"empty", "", "/tmp/"},
      {"without a slash at the end", "/var/tmp", "/var/tmp/"},
      {"with a slash at the end", "/var/tmp/", "/var/tmp/"},
      {"with two", "/var/tmp//", "/var/tmp//"},
      {"the root", "/", "/"},
      {"not absolute", "scratch", "scratch/"},
      {"a folder that does not exist", "/no/such/folder", "/no/such/folder/"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const TmpDir set(c.value);
    EXPECT_EQ(tempFolder(260), c.want);
  }
}

TEST(TempFolderMac, AFolderThatDoesNotFitGivesTheEmptyText) {
  const std::string folder = "/" + std::string(257, 'a');
  {
    const TmpDir set(folder.c_str());  // 259 characters with its slash
    EXPECT_EQ(tempFolder(260), folder + "/");
    EXPECT_EQ(tempFolder(259), "");
  }
  {
    const TmpDir set((folder + "b").c_str());
    EXPECT_EQ(tempFolder(260), "");
  }
  {
    const TmpDir set((folder + "/").c_str());
    EXPECT_EQ(tempFolder(260), folder + "/");
    EXPECT_EQ(tempFolder(259), "");
  }
  {
    const TmpDir set(std::string(100000, 'a').c_str());
    EXPECT_EQ(tempFolder(260), "");
  }
  {
    const TmpDir set(nullptr);
    EXPECT_EQ(tempFolder(6), "/tmp/");
    EXPECT_EQ(tempFolder(5), "");
  }
}

// What a call writes. Nothing may be asserted inside: the words of a failed assertion would be
// caught too.
struct Said {
  std::string out, err;
};
template <class Call>
Said saidBy(Call&& call) {
  Capture capture;
  call();
  return {capture.out(), capture.err()};
}

TEST(CLibrary, PrintingGoesToStandardOutput) {
  const Said said = saidBy([] {
    my_printf("%s=%d\n", "SplitDataSize", 7);
    my_printf("done.\n");
  });
  EXPECT_EQ(said.out, "SplitDataSize=7\ndone.\n");
  EXPECT_EQ(said.err, "");
}

TEST(CLibrary, LongTextsArePrintedWhole) {
  const std::string text(5000, 'x');
  EXPECT_EQ(saidBy([&] { my_printf("%s\n", text.c_str()); }).out, text + "\n");
}

TEST(CLibrary, AccessIsTheCLibrarys) {
  const TempFolder folder;
  const std::string path = folder.write("file", "x");
  EXPECT_EQ(my_access(path.c_str(), F_OK), 0);
  EXPECT_EQ(my_access(path.c_str(), R_OK), 0);
  EXPECT_EQ(my_access(folder.path("missing").c_str(), F_OK), -1);
  EXPECT_EQ(my_access(path.c_str(), X_OK), -1);
}

TEST(CLibrary, OpeningGivesAStreamOrNull) {
  const TempFolder folder;
  {
    const CFile file(my_fopen(folder.path("file").c_str(), "wb+"));
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(std::fputs("abc", file.get()) >= 0, true);
  }
  EXPECT_EQ(folder.text("file"), "abc");
  errno = 0;
  EXPECT_EQ(my_fopen(folder.path("missing").c_str(), "rb"), nullptr);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(my_fopen(nullptr, "rb"), nullptr);
}

TEST(CLibrary, ResourceFailuresNameMessageNumberFileAndLine) {
  const Said said =
      saidBy([] { reportError("parseParameter(): memory error", 12, "CFGFile.cpp", 275); });
  EXPECT_EQ(said.err, "ERROR! parseParameter(): memory error(12) CFGFile.cpp(275)\n");
  EXPECT_EQ(said.out, "");
}

TEST(CLibrary, AFileThatCannotBeOpenedIsNamedInQuotes) {
  const std::string path = "/no/such/" + std::string(400, 'n');
  const Said said = saidBy([&] { reportCannotOpen(path.c_str()); });
  EXPECT_EQ(said.err, "ERROR!: Can't open file \"" + path + "\"\n");
  EXPECT_EQ(said.out, "");
}

class KeptErrors : public ErrorSink {
 public:
  void take(const char* text) override { kept += text; }
  std::string kept;
};

TEST(CLibrary, TheYoungestSinkTakesTheMessagesOfFailures) {
  KeptErrors outer;
  const Said said = saidBy([&] {
    {
      KeptErrors inner;
      reportCannotOpen("a");
      EXPECT_EQ(inner.kept, "ERROR!: Can't open file \"a\"\n");
    }
    printError("%s\n", std::string(5000, 'x').c_str());
  });
  EXPECT_EQ(outer.kept, std::string(5000, 'x') + "\n");
  EXPECT_EQ(said.err, "");
}

TEST(CLibrary, WithoutASinkMessagesGoToStandardError) {
  { const KeptErrors gone; }
  EXPECT_EQ(saidBy([] { printError("%d\n", 5); }).err, "5\n");
}

TEST(CLibrary, NewBlocksAreZero) {
  const CBytes bytes = newZeroedBytes(1000);
  ASSERT_NE(bytes, nullptr);
  EXPECT_TRUE(std::all_of(bytes.get(), bytes.get() + 1000, [](uint8_t b) { return b == 0; }));
  const CText text = newZeroedText(1000);
  ASSERT_NE(text, nullptr);
  EXPECT_TRUE(std::all_of(text.get(), text.get() + 1000, [](char c) { return c == 0; }));
  EXPECT_NE(newZeroedBytes(0), nullptr);
  EXPECT_NE(newZeroedText(0), nullptr);
}

TEST(CLibrary, WithoutMemoryThereIsNoBlockAndErrnoSaysSo) {
  {
    const FaultInjection injection(Fault::kAllocation, 1);
    errno = 0;
    EXPECT_EQ(newZeroedBytes(10), nullptr);
    EXPECT_EQ(errno, ENOMEM);
  }
  const FaultInjection injection(Fault::kAllocation, 1);
  errno = 0;
  EXPECT_EQ(newZeroedText(10), nullptr);
  EXPECT_EQ(errno, ENOMEM);
}

}  // namespace
