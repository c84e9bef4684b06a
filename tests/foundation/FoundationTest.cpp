// The Foundation platform source: the same questions as the POSIX one, answered by the bundle.

#include <gtest/gtest.h>
#include <odaxgen/ODAXGen.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "Capture.h"
#include "Mac_Depend.h"
#include "TempFolder.h"
#include "Thrown.h"

#if defined(__APPLE__)
#include <mach-o/dyld.h>

#include <climits>
#endif

namespace {

std::string programPath() {
#if defined(__APPLE__)
  char path[PATH_MAX];
  uint32_t size = sizeof path;
  return _NSGetExecutablePath(path, &size) == 0 ? path : "";
#else
  return std::filesystem::read_symlink("/proc/self/exe").string();
#endif
}

// The bundle of a program that is not packed in one: GNUstep looks for it in Resources/NAME beside
// the program, macOS takes the program's folder itself.
std::string folderThatHoldsTheBundle() {
  const auto folder = std::filesystem::path(programPath()).parent_path();
#if defined(__APPLE__)
  return folder.parent_path().string();
#else
  return (folder / "Resources").string();
#endif
}

TEST(Foundation, AnAbsolutePathIsTakenAsItIs) {
  char out[260] = "x";
  EXPECT_EQ(GetFullPathMac("/a/b.cfg", 260, out), 0);
  EXPECT_STREQ(out, "/a/b.cfg");
}

TEST(Foundation, ANullPathIsRefusedAndLeavesTheResultAlone) {
  char out[260] = "x";
  EXPECT_EQ(GetFullPathMac(nullptr, 260, out), -1);
  EXPECT_STREQ(out, "x");
}

TEST(Foundation, ARelativePathIsJoinedToTheFolderThatHoldsTheBundle) {
  char out[260] = "";
  EXPECT_EQ(GetFullPathMac("job.cfg", 260, out), 0);
  EXPECT_EQ(out, folderThatHoldsTheBundle() + "/job.cfg");
}

TEST(Foundation, APathInUtf8ComesBackAsItWas) {
  char out[260] = "";
  EXPECT_EQ(GetFullPathMac("Gr\xC3\xBC\xC3\x9F"
                           "e.cfg",
                           260, out),
            0);
  EXPECT_EQ(out, folderThatHoldsTheBundle() +
                     "/Gr\xC3\xBC\xC3\x9F"
                     "e.cfg");
}

TEST(Foundation, APathThatIsNotUtf8IsRefusedAndEmptiesTheResult) {
  char out[260] = "x";
  EXPECT_EQ(GetFullPathMac("\xFF\xFE.cfg", 260, out), -1);
  EXPECT_STREQ(out, "");
}

TEST(Foundation, AResultThatDoesNotFitIsEmpty) {
  char out[8] = "x";
  EXPECT_EQ(GetFullPathMac("/12345678", 8, out), -1);
  EXPECT_STREQ(out, "");
}

TEST(Foundation, TheTemporaryFolderExistsAndEndsWithASlash) {
  char out[260] = "";
  GetTempFolderMac(out, 260);
  const std::string folder = out;
  ASSERT_FALSE(folder.empty());
  EXPECT_EQ(folder.back(), '/');
  EXPECT_TRUE(std::filesystem::is_directory(folder));
}

TEST(Foundation, ATemporaryFolderThatDoesNotFitLeavesTheResultEmpty) {
  char out[2] = "x";
  GetTempFolderMac(out, 2);
  EXPECT_STREQ(out, "");
}

TEST(Foundation, AWholeJobRunsInOnePacketMode) {
  const TempFolder folder;
  for (const char* name : {"SJ", "SJC", "SC", "EJ"}) {
    folder.write(std::string(name) + ".xml", "<" + std::string(name) + "/>\n");
  }
  folder.write("SD.xml", "<datasize>0</datasize>\n");
  folder.write("data.bin", "raster");
  const auto item = [&folder](const char* key, const char* name) {
    return std::string(key) + "=\"" + folder.path(name) + "\"\n";
  };
  const std::string config = folder.write(
      "job.cfg", "[Global]\nOutFilePath=\"job.odx\"\nSplitDataSize=0\n" +
                     item("SendDataFile", "data.bin") + "[ODAX]\n" +
                     item("StartJobXmlFile", "SJ.xml") +
                     item("SetJobConfigurationXmlFile", "SJC.xml") +
                     item("SetConfigurationXmlFile", "SC.xml") + item("SendDataXmlFile", "SD.xml") +
                     item("EndJobXmlFile", "EJ.xml"));
  Capture capture;
  EXPECT_EQ(thrownBy([&config] { makeODAXData(config.c_str()); }), 0) << capture.err();
  EXPECT_EQ(folder.text("job.odx"), "<SJ/><SJC/><SC/><datasize>6</datasize>raster<EJ/>");
}

}  // namespace
