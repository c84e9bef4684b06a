// Whole jobs that show what a configuration decides: the output file, the ways of writing the same
// settings, paths, overrides, and what pages inherit.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "JobFolder.h"

namespace {

using namespace std::string_literals;

const std::string kTemplateSection(kTemplates);
const std::string kSendData = "SendDataFile=\"@/data.bin\"\n";
const std::string kStart(kOpening);
const std::string kEnd = "<EJ><d:datasize>25</d:datasize></EJ>";
const std::string kWithData = kStart + "abc" + kEnd;

// Raster commands.
const std::string kJobStart =
    "\x1B%-12345X\x1B%0A\x1B"
    "E";
const std::string kOneBlackBit = "\x1B$v10W\x05\x01\0\0\0\0\x01\0\0\0"s;  // one plane, K of 1 bit
const std::string k600 = "\x1B*t600R";
const std::string kRasterStart = "\x1B*r1A\x1B*b0M";
const std::string kRasterEnd = "\x1B*rC";
const std::string kJobEnd = "\x1B$E\x1B%-12345X";
const std::string kRow = "\x1B*b2W\xF0\x0F";  // the row of k.tif
// A page of k.tif with nothing special.
const std::string kPlainPage = kRasterStart + kRow + kRasterEnd;

const std::string kOutput = "[Global]\nOutFilePath=\"@/out.dat\"\n";
const std::string kRaster =
    "[HXRaster]\nGraphicsResolutionH=600\nGraphicsResolutionV=600\nPrintableWidthInPixel=16\n";
const std::string kFormat = "ColorSpace=5\nNumOfPlanes=1\nPixelDepthK=1\nCompressionMode=0\n";
const std::string kPage = "[Image]\nImageFileK=\"k.tif\"\n" + kFormat;

class ConfigurationTest : public testing::Test {
 protected:
  void SetUp() override {
    folder.write("data.bin", "abc");
    folder.writeImage("k.tif", {{1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1}, Bytes(16, 0)});
  }
  // Runs a job that must succeed, and gives its output file.
  std::string output(std::string_view configuration, std::string_view file = "out.dat") {
    std::filesystem::remove(folder.path(file));
    const JobResult r = folder.run(configuration);
    EXPECT_EQ(r.code, 0);
    EXPECT_EQ(r.err, "");
    EXPECT_TRUE(r.out.size() > 6 && r.out.substr(r.out.size() - 6) == "done.\n") << r.out;
    return folder.text(file);
  }
  std::string raster(const std::string& pages) {
    return output(kOutput + kTemplateSection + kRaster + pages);
  }

  JobFolder folder;
};

// One job, whole ----------------------------------------------------------------------------------

TEST_F(ConfigurationTest, APageBecomesAJobFile) {
  const std::string configuration = kOutput + kTemplateSection + kRaster + kPage;
  const JobResult r = folder.run(configuration);
  EXPECT_EQ(r.code, 0);
  EXPECT_EQ(r.err, "");
  EXPECT_EQ(r.out, std::string(kEchoStart) + configuration + "done.\n");
  EXPECT_EQ(folder.text("out.dat"),
            "<SJ/><SJC/><SC/><VC/>"
            "\x1B%-12345X\x1B%0A\x1B"
            "E"
            "\x1B$v10W\x05\x01\0\0\0\0\x01\0\0\0"
            "\x1B*t600R"
            "\x1B*r1A\x1B*b0M"
            "\x1B*b2W\xF0\x0F"
            "\x1B*rC"
            "\x1B$E\x1B%-12345X"
            "<EJ><d:datasize>25</d:datasize></EJ>"s);
}

TEST_F(ConfigurationTest, ThePageIsSplitOrSentAsOnePacket) {
  const std::string stream = kJobStart + kOneBlackBit + k600 + kPlainPage + kJobEnd;
  ASSERT_EQ(stream.size(), 71U);
  const std::string rest = kTemplateSection + kRaster + kPage;
  EXPECT_EQ(output(kOutput + "SplitDataSize=50\n" + rest),
            kStart + "<SD><d:datasize>50</d:datasize><d:continue>ON</d:continue></SD>" +
                stream.substr(0, 50) +
                "<SD><d:datasize>21</d:datasize><d:continue>OFF</d:continue></SD>" +
                stream.substr(50) + "<EJ><d:datasize>223</d:datasize></EJ>");
  EXPECT_EQ(output(kOutput + "SplitDataSize=0\n" + rest),
            kStart + "<SD><d:datasize>71</d:datasize><d:continue>OFF</d:continue></SD>" + stream +
                "<EJ><d:datasize>160</d:datasize></EJ>");
  EXPECT_TRUE(folder.names("temp").empty());
}

// The default output file -------------------------------------------------------------------------

TEST_F(ConfigurationTest, TheDefaultOutputIsTheConfigurationsPathWithDat) {
  // HXRaster follows Global, so that the default applies.
  const std::string configuration =
      folder.expand("[Global]\n" + kSendData + "[HXRaster]\n" + kTemplateSection);
  struct Case {
    const char* name;
    const char* configuration;
    const char* output;
  };
  const Case kCases[] = {
      {"an extension", "a/job.cfg", "a/job.dat"},
      {"two extensions", "a/job.tar.cfg", "a/job.tar.dat"},
      {"no extension", "a/job", "a/job.dat"},
      {"a dot at the end", "a/job.", "a/job.dat"},
      {"a dot only in the folder", "b.c/job", "b.dat"},
      {"a dot in the folder and one in the name", "b.c/job.txt", "b.c/job.dat"},
      {"a hidden file", "a/.job", "a/.dat"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const JobResult r = folder.runFile(folder.write(c.configuration, configuration));
    EXPECT_EQ(r.code, 0);
    EXPECT_EQ(folder.text(c.output), kWithData);
    std::filesystem::remove(folder.path(c.output));
  }
}

TEST_F(ConfigurationTest, WhereTheDefaultDoesNotApplyTheOutputIsODAXDatInTheCurrentFolder) {
  struct Case {
    const char* name;
    std::string configuration;
  };
  const Case kCases[] = {
      {"no HXRaster", "[Global]\n" + kSendData + kTemplateSection},
      {"ODAX between Global and HXRaster",
       "[Global]\n" + kSendData + kTemplateSection + "[HXRaster]\n"},
      {"an empty path", "[Global]\nOutFilePath=\"\"\n" + kSendData + kTemplateSection},
      {"a page", "[Global]\n" + kTemplateSection + kRaster + kPage},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    EXPECT_NE(output(c.configuration, "cwd/ODAX.dat"), "");
    EXPECT_FALSE(folder.exists("job.dat"));
  }
}

TEST_F(ConfigurationTest, AnEmptyPathTakesTheDefaultWhereItApplies) {
  EXPECT_EQ(output("[Global]\nOutFilePath=\"\"\n" + kSendData + "[HXRaster]\n" + kTemplateSection,
                   "job.dat"),
            kWithData);
}

TEST_F(ConfigurationTest, TheSeparatorsOfTheDefaultOutputAreConverted) {
  std::filesystem::create_directory(folder.path("a"));
  const JobResult r = folder.runFile(folder.write(
      "a:b\\c.cfg", folder.expand("[Global]\n" + kSendData + "[HXRaster]\n" + kTemplateSection)));
  EXPECT_EQ(r.code, -49);  // there is no folder a/b
  EXPECT_EQ(r.err,
            "\nConverting directory separator...\n@/a:b\\c.dat\n->\n@/a/b/c.dat\n"
            "ERROR!: Can't open the file \"@/a/b/c.dat\".\n");
}

TEST_F(ConfigurationTest, ARelativeConfigurationBelongsToTheApplicationsFolder) {
  folder.write("cwd/odaxgen-none.cfg", "[Global]\n");
  const JobResult r = folder.runFile("odaxgen-none.cfg");
  EXPECT_EQ(r.code, -3);
  EXPECT_EQ(r.err, "ERROR!: Can't open file \"" + executableFolder() + "/odaxgen-none.cfg\"\n");
}

// Ways of writing ---------------------------------------------------------------------------------

TEST_F(ConfigurationTest, TheSameSettingsGiveTheSameJob) {
  const std::string plain = kOutput + kTemplateSection + kRaster + kPage;
  const std::string want = output(plain);
  struct Case {
    const char* name;
    std::string configuration;
  };
  std::string crLf, cr, spaced, noted;
  for (const char character : plain) {
    if (character == '\n') {
      crLf += "\r\n";
      cr += "\r";
      spaced += " \t\n\n";
      noted += "\n/* note\nx=y */\n*/\n# note\n";
    } else {
      crLf += character;
      cr += character;
      spaced += character == '=' ? " \t= "s : std::string(1, character);
      noted += character;
    }
  }
  std::string lessLastEnd = plain;
  lessLastEnd.pop_back();
  std::string hexadecimal = plain;
  hexadecimal.replace(hexadecimal.find("H=600"), 5, "H=0x258");
  std::string symbolic = plain;
  symbolic.replace(symbolic.find("ColorSpace=5"), 12,
                   "ColorSpace=hxraster_id_val_image_format_row_inkcolor_bi_level");
  symbolic.replace(symbolic.find("CompressionMode=0"), 17,
                   "CompressionMode=hxraster_id_val_compression_none");
  const Case kCases[] = {
      {"CR LF", crLf},
      {"CR", cr},
      {"blanks and empty lines", spaced},
      {"comments", noted},
      {"a byte-order mark", "\xEF\xBB\xBF" + plain},
      {"no line end at the end", lessLastEnd},
      {"a note behind a header", "[Global]# note\n" + plain.substr(9)},
      {"items in front of the first header", "a=b\n" + plain},
      {"hexadecimal", hexadecimal},
      {"symbols", symbolic},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(output(c.configuration), want);
  }
}

TEST_F(ConfigurationTest, QuotesMayStandInAFilesName) {
  folder.write("the \"data\".bin", "abc");
  EXPECT_EQ(output(kOutput + "SendDataFile=\"@/the \"\"data\\\".bin\"\n" + kTemplateSection),
            kWithData);
}

TEST_F(ConfigurationTest, AHashCutsAQuotedPath) {
  const JobResult r = folder.run("[Global]\nOutFilePath=\"@/out#1.dat\"\n");
  EXPECT_EQ(r.code, -28);
  EXPECT_EQ(r.err, "INVALID VALUE OF ITEM!: line 2.\nOutFilePath=\"@/out#1.dat\"\n");
}

// Paths -------------------------------------------------------------------------------------------

TEST_F(ConfigurationTest, OutputTableAndImageFilesAreRelativeToTheConfiguration) {
  folder.write("jobs/table.tbl", "tone");
  std::filesystem::create_directory(folder.path("jobs/images"));
  std::filesystem::copy_file(folder.path("k.tif"), folder.path("jobs/images/k.tif"));
  std::filesystem::create_directory(folder.path("done"));
  const JobResult r = folder.runFile(folder.write(
      "jobs/job.cfg", folder.expand("[Global]\nOutFilePath=\"./../done/out.dat\"\n"
                                    "ImageProcessingFile=\"table.tbl\"\n" +
                                    kTemplateSection + kRaster +
                                    "[Image]\nImageFileK=\"images/k.tif\"\n" + kFormat)));
  EXPECT_EQ(r.code, 0);
  EXPECT_EQ(r.err, "");
  EXPECT_EQ(folder.text("done/out.dat"), kStart + kJobStart + "\x1B$b4Wtone" + kOneBlackBit + k600 +
                                             kPlainPage + kJobEnd + kEnd);
}

TEST_F(ConfigurationTest, BackslashesAndColonsAreConvertedWithAMessage) {
  folder.write("jobs/table.tbl", "tone");
  const JobResult r = folder.runFile(folder.write(
      "jobs/job.cfg",
      folder.expand("[Global]\nOutFilePath=\"..\\out.dat\"\nImageProcessingFile=\":table.tbl\"\n" +
                    kTemplateSection + kRaster + "[Image]\nImageFileK=\"::k.tif\"\n" + kFormat)));
  EXPECT_EQ(r.code, 0);
  EXPECT_EQ(r.err,
            "\nConverting directory separator...\n..\\out.dat\n->\n../out.dat\n"
            "\nConverting directory separator...\n:table.tbl\n->\ntable.tbl\n"
            "\nConverting directory separator...\n::k.tif\n->\n../k.tif\n");
  // The echo shows the paths as they were given.
  EXPECT_NE(r.out.find("OutFilePath=\"..\\out.dat\"\n"), std::string::npos);
  EXPECT_EQ(folder.text("out.dat"), kStart + kJobStart + "\x1B$b4Wtone" + kOneBlackBit + k600 +
                                        kPlainPage + kJobEnd + kEnd);
}

TEST_F(ConfigurationTest, TemplatesAreRelativeToTheApplication) {
  const std::string relative =
      std::filesystem::relative(folder.path(), executableFolder()).string();
  std::string templates = kTemplateSection;
  for (size_t at; (at = templates.find('@')) != std::string::npos;)
    templates.replace(at, 1, relative);
  EXPECT_EQ(output(kOutput + kSendData + templates), kWithData);

  folder.write("cwd/SJ.xml", "<wrong/>");
  const JobResult r =
      folder.run(kOutput + kSendData + "[ODAX]\nStartJobXmlFile=\"odaxgen-none.xml\"\n");
  EXPECT_EQ(r.code, -51);
  EXPECT_EQ(r.err, "ERROR!: Can't open file \"" + executableFolder() + "/odaxgen-none.xml\"\n");
}

TEST_F(ConfigurationTest, SeparatorsOfTemplatesAndDataFilesStayAsWritten) {
  folder.write("cwd/da:ta\\.bin", "abc");
  folder.write("S:J\\.xml", "<SJ/>");
  std::string templates = kTemplateSection;
  templates.replace(templates.find("SJ.xml"), 6, "S:J\\.xml");
  EXPECT_EQ(output(kOutput + "SendDataFile=\"da:ta\\.bin\"\n" + templates), kWithData);
}

// Overrides ---------------------------------------------------------------------------------------

TEST_F(ConfigurationTest, OverridesAndSuppressionChangeTheTemplates) {
  folder.write("SJ.xml",
               "<j:Job>\n  <j:Name>untitled</j:Name>\n  <j:Proof>on</j:Proof>\n</j:Job>\n");
  folder.write("SC.xml", "<j:Setting name=\"Quality\">draft</j:Setting>\n");
  const std::string configuration =
      kOutput + kSendData + kTemplateSection +
      "Name=\"No. \"\"7\"\"\"\nProof=ODAXGEN_SUPPRESSION\nQuality = fine\nNothing=0\n";
  const JobResult r = folder.run(configuration);
  EXPECT_EQ(r.code, 0);
  EXPECT_EQ(r.err, "");
  EXPECT_EQ(r.out, std::string(kEchoStart) + kOutput + kSendData + kTemplateSection +
                       "Name=\"No. \"\"7\"\"\"\nProof=ODAXGEN_SUPPRESSION\nQuality=fine\n"
                       "Nothing=0\ndone.\n");
  EXPECT_EQ(folder.text("out.dat"),
            "<j:Job>  <j:Name>No. \"7\"</j:Name></j:Job>"
            "<SJC/>"
            "<j:Setting name=\"Quality\">fine</j:Setting>"
            "<VC/>abc"
            "<EJ><d:datasize>98</d:datasize></EJ>");
}

TEST_F(ConfigurationTest, KnownKeysAreNoOverrides) {
  folder.write("SJ.xml", "<x:EndJobXmlFile>1</x:EndJobXmlFile>\n");
  folder.write("EJ.xml", "");
  EXPECT_EQ(output(kOutput + kSendData + kTemplateSection),
            "<x:EndJobXmlFile>1</x:EndJobXmlFile><SJC/><SC/><VC/>abc");
}

// Pages -------------------------------------------------------------------------------------------

TEST_F(ConfigurationTest, APageWithoutFormatInheritsItAndSendsItOnce) {
  const std::string again = "[Image]\nImageFileK=\"k.tif\"\n";
  EXPECT_EQ(raster(kPage + again + again), kStart + kJobStart + kOneBlackBit + k600 + kPlainPage +
                                               k600 + kPlainPage + k600 + kPlainPage + kJobEnd +
                                               kEnd);
}

TEST_F(ConfigurationTest, APageOfTheSameFormatDoesNotSendItAgain) {
  EXPECT_EQ(raster(kPage + kPage), kStart + kJobStart + kOneBlackBit + k600 + kPlainPage + k600 +
                                       kPlainPage + kJobEnd + kEnd);
}

TEST_F(ConfigurationTest, AnotherCompressionIsNoOtherFormat) {
  std::string packed = kPage;
  packed.replace(packed.find("CompressionMode=0"), 17, "CompressionMode=2");
  EXPECT_EQ(raster(kPage + packed), kStart + kJobStart + kOneBlackBit + k600 + kPlainPage + k600 +
                                        "\x1B*r1A\x1B*b2M\x1B*b3W\x01\xF0\x0F\x1B*rC" + kJobEnd +
                                        kEnd);
}

TEST_F(ConfigurationTest, APageOfAnotherFormatSendsItsOwn) {
  // Two bits of black: 1 is the lowest of four levels and 255 the highest.
  folder.writeImage("k2.tif", {{255, 128, 64, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}});
  const std::string other =
      "[Image]\nImageFileK=\"k2.tif\"\nColorSpace=4\nNumOfPlanes=1\nPixelDepthK=2\nIndexLevelK=4\n"
      "CompressionMode=0\n";
  // The third page is compared with the first, not with the one before it.
  EXPECT_EQ(raster(kPage + other + kPage), kStart + kJobStart + kOneBlackBit + k600 + kPlainPage +
                                               "\x1B$v10W\x04\x01\x05\x02\x06\0\x07\0\x08\0"s +
                                               k600 + kRasterStart + "\x1B*b1W\xE4" + kRasterEnd +
                                               k600 + kPlainPage + kJobEnd + kEnd);
}

TEST_F(ConfigurationTest, PositionsAreSentInFrontOfTheRaster) {
  struct Case {
    const char* name;
    const char* keys;
    const char* before;
    const char* after;
  };
  const Case kCases[] = {
      {"absolute", "StartingPositionX=5\nStartingPositionY=6\n", "\x1B*p5X\x1B*p6Y", ""},
      {"absolute 0", "StartingPositionX=0\nStartingPositionY=0\n", "\x1B*p0X\x1B*p0Y", ""},
      {"relative", "StartingPositionX=+5\nStartingPositionY=+6\n", "\x1B*p+5X\x1B*p+6Y", ""},
      {"relative and negative", "StartingPositionX=-20\nStartingPositionY=-6\n",
       "\x1B*p-20X\x1B*p-6Y", ""},
      {"relative 0 is no move", "StartingPositionX=+0\nStartingPositionY=-0\n", "", ""},
      {"a sign without digits is 0", "StartingPositionX=+\nStartingPositionY=-\n", "", ""},
      {"only Y", "StartingPositionY=6\n", "\x1B*p6Y", ""},
      {"an offset", "YOffset=3\n", "", "\x1B*b3Y"},
      {"a relative offset", "YOffset=+3\n", "", "\x1B*b+3Y"},
      {"an offset in front of the position", "YOffsetC=3\nStartingPositionX=5\n",
       "\x1B*b3Y\x1B*p5X", ""},
      {"an offset behind the position", "StartingPositionX=5\nYOffsetC=+3\n", "\x1B*p5X\x1B*b+3Y",
       ""},
      {"both", "YOffsetC=1\nStartingPositionX=5\nYOffsetC=2\nYOffset=3\n",
       "\x1B*b1Y\x1B*p5X\x1B*b2Y", "\x1B*b3Y"},
      {"an offset of 0", "YOffsetC=0\nYOffset=+0\n", "\x1B*b0Y", "\x1B*b0Y"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    std::string want(kStart);
    for (const std::string& part :
         {kJobStart, kOneBlackBit, k600, std::string(c.before), kRasterStart, std::string(c.after),
          kRow, kRasterEnd, kJobEnd, kEnd})
      want += part;
    EXPECT_EQ(raster(kPage + c.keys), want);
  }
}

TEST_F(ConfigurationTest, PositionsAreNotInherited) {
  EXPECT_EQ(raster(kPage + "StartingPositionX=5\nYOffset=1\n[Image]\nImageFileK=\"k.tif\"\n"),
            kStart + kJobStart + kOneBlackBit + k600 + "\x1B*p5X" + kRasterStart + "\x1B*b1Y" +
                kRow + kRasterEnd + k600 + kPlainPage + kJobEnd + kEnd);
}

TEST_F(ConfigurationTest, UnequalResolutionsAreSentAsTwo) {
  std::string settings = kRaster;
  settings.replace(settings.find("V=600"), 5, "V=1200");
  EXPECT_EQ(
      output(kOutput + kTemplateSection + settings + kPage),
      kStart + kJobStart + kOneBlackBit + "\x1B$r600X\x1B$r1200Y" + kPlainPage + kJobEnd + kEnd);
}

TEST_F(ConfigurationTest, APageThatCannotBeOpenedIsSkipped) {
  folder.write("k.bmp", "BM");
  EXPECT_EQ(raster("[Image]\nImageFileK=\"k.bmp\"\n" + kFormat + kPage),
            kStart + kJobStart + k600 + kPlainPage + kJobEnd + kEnd);
  EXPECT_EQ(raster(kPage + "[Image]\nImageFileK=\"k.bmp\"\n"),
            kStart + kJobStart + kOneBlackBit + k600 + kPlainPage + kJobEnd + kEnd);
}

TEST_F(ConfigurationTest, APageThatIsNoTiffHasNoRows) {
  folder.write("none.tif", "");
  EXPECT_EQ(raster("[Image]\nImageFileK=\"none.tif\"\n" + kFormat),
            kStart + kJobStart + kOneBlackBit + k600 + kRasterStart + kRasterEnd + kJobEnd + kEnd);
}

TEST_F(ConfigurationTest, APageWithoutAnImageHasNoRows) {
  EXPECT_EQ(raster("[Image]\n" + kFormat),
            kStart + kJobStart + kOneBlackBit + k600 + kRasterStart + kRasterEnd + kJobEnd + kEnd);
}

}  // namespace
