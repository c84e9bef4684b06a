// odaxgen check, through the binary: every warning with a job that provokes it and a near one that
// does not, every error that can be known, and how it is all said.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "ExampleJob.h"
#include "Images.h"
#include "JsonSchema.h"
#include "Program.h"
#include "TempFolder.h"
#include "TiffWriter.h"

using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsSupersetOf;
using testing::Not;
using testing::StartsWith;
using Json = nlohmann::json;

namespace {

constexpr uint32_t kLzw = 5;

// How the image of a case is made.
struct Picture {
  std::vector<uint32_t> bits = {8};
  uint32_t width = 16;
  uint32_t height = 6;
  uint32_t photometric = 0;
  uint32_t compression = kUncompressed;
  uint32_t rowsPerStrip = 100;
  uint16_t offsetType = kTiffLong;
  std::vector<std::pair<uint16_t, uint32_t>> more;  // further tags of one number
  std::vector<uint16_t> without;                    // tags that are left out
  int pages = 1;
};

Bytes tiff(const Picture& picture) {
  uint32_t perPixel = 0;
  for (const uint32_t bits : picture.bits) perPixel += bits;
  const std::vector<Bytes> rows(picture.height,
                                Bytes((size_t{picture.width} * perPixel + 7) / 8, 0x31));
  TiffWriter file('I');
  for (int page = 0; page < picture.pages; ++page) {
    std::vector<uint32_t> offsets;
    for (const Bytes& strip : stripsOf(rows, picture.rowsPerStrip, kUncompressed))
      offsets.push_back(file.append(strip));
    const auto has = [&picture](uint16_t tag) {
      return std::find(picture.without.begin(), picture.without.end(), tag) ==
             picture.without.end();
    };
    file.field(kTagWidth, kTiffLong, {picture.width});
    file.field(kTagHeight, kTiffLong, {picture.height});
    file.field(kTagBitsPerSample, kTiffShort, picture.bits);
    file.field(kTagCompression, kTiffShort, {picture.compression});
    if (has(kTagPhotometric)) file.field(kTagPhotometric, kTiffShort, {picture.photometric});
    if (has(kTagStripOffsets) && !offsets.empty())
      file.field(kTagStripOffsets, picture.offsetType, offsets);
    if (has(kTagSamplesPerPixel)) {
      file.field(kTagSamplesPerPixel, kTiffShort, {static_cast<uint32_t>(picture.bits.size())});
    }
    file.field(kTagRowsPerStrip, kTiffLong, {picture.rowsPerStrip});
    for (const auto& [tag, value] : picture.more) file.field(tag, kTiffLong, {value});
    file.endDirectory();
  }
  return file.bytes();
}

std::string text(const Bytes& bytes) {
  return {bytes.begin(), bytes.end()};
}

// The lines of a sound job, to be changed by a case.
struct Job {
  std::string before;
  std::string global = "OutFilePath = \"out.odx\"\nSplitDataSize = 65536\n";
  std::string odax =
      "StartJobXmlFile = \"sj.xml\"\nSetJobConfigurationXmlFile = \"sjc.xml\"\n"
      "SetConfigurationXmlFile = \"sc.xml\"\nSendDataXmlFile = \"sd.xml\"\n"
      "EndJobXmlFile = \"ej.xml\"\n";
  std::string hxraster = "GraphicsResolutionH = 600\nGraphicsResolutionV = 600\n";
  std::string image =
      "ImageFileK = \"k.tif\"\nColorSpace = 5\nNumOfPlanes = 1\nPixelDepthK = 2\n"
      "CompressionMode = 2\n";
  std::string after;
  std::map<std::string, std::string> files = {
      {"sj.xml",
       "<j:StartJob>\n<j:Name>x</j:Name>\n<j:Set name=\"Quality\">draft</j:Set>\n</j:StartJob>\n"},
      {"sjc.xml", "<j:SJC/>\n"},
      {"sc.xml", "<j:SC/>\n"},
      {"sd.xml", "<j:SD>\n<j:datasize>0</j:datasize>\n<j:continue>OFF</j:continue>\n</j:SD>\n"},
      {"ej.xml", "<j:EJ>\n<j:datasize>0</j:datasize>\n</j:EJ>\n"},
      {"k.tif", text(tiff({}))},
  };

  [[nodiscard]] std::string configuration() const {
    return before + "[Global]\n" + global + "[ODAX]\n" + odax + "[HXRaster]\n" + hxraster +
           "[Image]\n" + image + after;
  }
  void replace(const std::string& from, const std::string& to) {
    for (std::string* part : {&global, &odax, &hxraster, &image}) {
      const size_t at = part->find(from);
      if (at != std::string::npos) part->replace(at, from.size(), to);
    }
  }
  void picture(const Picture& picture) { files["k.tif"] = text(tiff(picture)); }
};

// Pages of other formats.
constexpr const char* kCmykPage =
    "ImageFileCMYK = \"c.tif\"\nColorSpace = 3\nNumOfPlanes = 4\nPixelDepthK = 2\n"
    "PixelDepthC = 2\nPixelDepthM = 2\nPixelDepthY = 2\nCompressionMode = 2\n";
constexpr const char* kRgbPage =
    "ImageFileRGB = \"r.tif\"\nColorSpace = 2\nNumOfPlanes = 3\nPixelDepthR = 8\n"
    "PixelDepthG = 8\nPixelDepthB = 8\nCompressionMode = 2\n";

Picture cmyk() {
  Picture picture;
  picture.bits = {8, 8, 8, 8};
  picture.photometric = 5;
  return picture;
}
Picture rgb() {
  Picture picture;
  picture.bits = {8, 8, 8};
  picture.photometric = 2;
  return picture;
}
void useCmyk(Job& job, const Picture& picture) {
  job.image = kCmykPage;
  job.files["c.tif"] = text(tiff(picture));
}
void useRgb(Job& job, const Picture& picture) {
  job.image = kRgbPage;
  job.files["r.tif"] = text(tiff(picture));
}

class CheckTest : public testing::Test, public TempFolder {
 protected:
  void writeJob(const Job& job, const std::string& name = "job.cfg") const {
    for (const auto& [file, content] : job.files) write(file, content);
    write(name, job.configuration());
  }
  [[nodiscard]] ProgramResult check(std::vector<std::string> arguments = {"job.cfg"}) const {
    arguments.insert(arguments.begin(), "check");
    return runOdaxgen(arguments, path());
  }
  [[nodiscard]] Json checkJson(const std::string& name = "job.cfg") const {
    const ProgramResult result = check({"--json", name});
    EXPECT_EQ(result.err, "");
    Json json = Json::parse(result.out);
    EXPECT_EQ(schemaProblems("check", json), "");
    return json;
  }
  // Ids of warnings and codes of errors, in their order.
  [[nodiscard]] std::vector<std::string> found() const {
    const Json json = checkJson();
    std::vector<std::string> words;
    for (const Json& problem : json["jobs"][0]["problems"]) {
      if (problem["severity"] == "warning") {
        words.push_back(problem["id"]);
      } else {
        words.push_back(problem["code"].is_null() ? problem["thrown"].get<std::string>()
                                                  : problem["code"].dump());
      }
    }
    return words;
  }
};

// Warnings ----------------------------------------------------------------------------------------

struct WarningCase {
  const char* id;
  std::function<void(Job&)> odd;
  std::function<void(Job&)> twin;  // near it, without this warning
  bool isFurther = false;          // another case of the same warning
};

void nothing(Job& /*job*/) {}

Picture with(const std::function<void(Picture&)>& change, Picture picture = {}) {
  change(picture);
  return picture;
}

const std::vector<WarningCase>& warningCases() {
  static const std::vector<WarningCase> kCases = {
      // Lines.
      {"line-cut", [](Job& j) { j.odax += "Copies = " + std::string(1100, 'x') + "\n"; },
       [](Job& j) { j.odax += "Name = " + std::string(900, 'x') + "\n"; }},
      {"nul-byte", [](Job& j) { j.odax += std::string("Name = a\0b\n", 11); },
       [](Job& j) { j.odax += "Name = ab\n"; }},
      {"hash-in-quotes", [](Job& j) { j.odax += "Name = x \"a # b\"\n"; },
       [](Job& j) { j.odax += "Name = \"a b\" # note \"x\"\n"; }},
      {"hash-in-value", [](Job& j) { j.odax += "Name = Job#7\n"; },
       [](Job& j) { j.odax += "Name = Job # 7\n"; }},
      {"before-first-section", [](Job& j) { j.before = "SplitDataSize = 5\n"; },
       [](Job& j) { j.before = "# SplitDataSize = 5\n"; }},
      {"comment-opens-block", [](Job& j) { j.odax += "/* x */\nName = 5\n*/\n"; },
       [](Job& j) { j.odax += "/* x\nName = 5\n*/\n"; }},
      {"comment-end-in-line", [](Job& j) { j.odax += "/*\nx */\n*/\n"; },
       [](Job& j) { j.odax += "/*\nx\n */\n"; }},
      {"text-behind-comment", [](Job& j) { j.odax += "/*\n*/ Name = 5\n"; },
       [](Job& j) { j.odax += "/*\n*/\nName = 5\n"; }},
      {"header-like", [](Job& j) { j.odax += "[Image] = 5\n"; }, nothing},
      {"empty-path", [](Job& j) { j.image += "ImageFileC = \"\"\n"; }, nothing},
      {"number-wrapped", [](Job& j) { j.replace("PixelDepthK = 2", "PixelDepthK = 4294967298"); },
       nothing},
      {"number-wrapped", [](Job& j) { j.image += "YOffset = 4294967295\n"; },
       [](Job& j) { j.image += "YOffset = 2147483647\n"; }, true},
      {"hex-without-digits", [](Job& j) { j.hxraster += "PrintableWidthInPixel = 0x\n"; },
       [](Job& j) { j.hxraster += "PrintableWidthInPixel = 0x10\n"; }},
      {"symbol-of-other-key",
       [](Job& j) {
         j.replace("CompressionMode = 2",
                   "CompressionMode = hxraster_id_val_image_format_row_rgb_multi_level");
       },
       [](Job& j) {
         j.replace("CompressionMode = 2", "CompressionMode = hxraster_id_val_compression_packbits");
       }},
      {"sign-without-number", [](Job& j) { j.image += "StartingPositionX = +\n"; },
       [](Job& j) { j.image += "StartingPositionX = +1\n"; }},
      {"relative-zero", [](Job& j) { j.image += "StartingPositionX = +0\n"; },
       [](Job& j) { j.image += "StartingPositionX = 0\n"; }},
      {"relative-zero", [](Job& j) { j.image += "YOffset = +0\n"; },
       [](Job& j) { j.image += "YOffset = +2\n"; }, true},
      {"position-minus-one",
       [](Job& j) { j.image += "StartingPositionX = -1\nStartingPositionX = 5\n"; },
       [](Job& j) { j.image += "StartingPositionX = -1\n"; }},
      {"position-minus-one", [](Job& j) { j.image += "StartingPositionX = -1\nYOffsetC = 5\n"; },
       [](Job& j) { j.image += "StartingPositionX = -2\nYOffsetC = 5\n"; }, true},
      {"index-level-text", [](Job& j) { j.image += "IndexLevelK = \"2\"\n"; },
       [](Job& j) { j.image += "IndexLevelK = 2\n"; }},
      {"index-level-repeated", [](Job& j) { j.image += "IndexLevelK = 2\nIndexLevelK = 3\n"; },
       [](Job& j) { j.image += "IndexLevelK = 3\n"; }},
      {"index-level-replaced",
       [](Job& j) { j.replace("ColorSpace = 5", "IndexLevelK = 2\nColorSpace = 4"); },
       [](Job& j) { j.replace("ColorSpace = 5", "ColorSpace = 4\nIndexLevelK = 2"); }},
      {"index-level-unused",
       [](Job& j) { j.replace("PixelDepthK = 2", "PixelDepthK = 8\nIndexLevelK = 2"); },
       [](Job& j) { j.replace("PixelDepthK = 2", "PixelDepthK = 4\nIndexLevelK = 2"); }},
      {"index-level-unused", [](Job& j) { j.image += "IndexLevelC = 2\n"; },
       [](Job& j) { j.image += "IndexLevelC = 0\n"; }, true},
      {"levels-exceed-depth", [](Job& j) { j.image += "IndexLevelK = 5\n"; },
       [](Job& j) { j.image += "IndexLevelK = 4\n"; }},
      {"section-behind-page", [](Job& j) { j.after = "[Image]\nImageFileK = \"k.tif\"\n[ODAX]\n"; },
       [](Job& j) { j.after = "[Image]\nImageFileK = \"k.tif\"\n"; }},
      // Settings.
      {"no-split-size", [](Job& j) { j.replace("SplitDataSize = 65536\n", ""); }, nothing},
      {"no-split-size",
       [](Job& j) { j.replace("SplitDataSize = 65536", "SplitDataSize = 0xFFFFFFFF"); }, nothing,
       true},
      {"negative-split-size",
       [](Job& j) { j.replace("SplitDataSize = 65536", "SplitDataSize = 2147483648"); },
       [](Job& j) { j.replace("SplitDataSize = 65536", "SplitDataSize = 2147483"); }},
      {"default-output", [](Job& j) { j.replace("OutFilePath = \"out.odx\"\n", ""); }, nothing},
      {"output-is-input",
       [](Job& j) {
         j.replace("out.odx", "k2.tif");
         j.files["k2.tif"] = j.files["k.tif"];
         j.replace("ImageFileK = \"k.tif\"", "ImageFileK = \"./k2.tif\"");
       },
       [](Job& j) {
         j.replace("out.odx", "k3.tif");
         j.files["k3.tif"] = "an earlier file";
       }},
      {"resolution-zero",
       [](Job& j) { j.replace("GraphicsResolutionH = 600", "GraphicsResolutionH = 0"); }, nothing},
      {"too-many-tables",
       [](Job& j) {
         j.files["t"] = "table";
         for (int i = 0; i < 7; ++i) j.global += "ImageProcessingFile = \"t\"\n";
       },
       [](Job& j) {
         j.files["t"] = "table";
         for (int i = 0; i < 6; ++i) j.global += "ImageProcessingFile = \"t\"\n";
       }},
      {"empty-table",
       [](Job& j) {
         j.files["t"] = "";
         j.global += "ImageProcessingFile = \"t\"\n";
       },
       [](Job& j) {
         j.files["t"] = "x";
         j.global += "ImageProcessingFile = \"t\"\n";
       }},
      {"table-not-read",
       [](Job& j) {
         j.files["folder/x"] = "";
         j.global += "ImageProcessingFile = \"folder\"\n";
       },
       nothing},
      {"send-data-alone",
       [](Job& j) {
         j.files["data"] = "x";
         j.global += "SendDataFile = \"data\"\n";
       },
       nothing},
      {"empty-send-data",
       [](Job& j) {
         j.files["data"] = "";
         j.global += "SendDataFile = \"data\"\n";
       },
       [](Job& j) {
         j.files["data"] = "x";
         j.global += "SendDataFile = \"data\"\n";
       }},
      // Templates and overrides.
      {"template-line-long", [](Job& j) { j.files["sj.xml"] = std::string(256, 'x') + "\n"; },
       [](Job& j) { j.files["sj.xml"] = std::string(255, 'x') + "\n"; }},
      {"template-line-cut", [](Job& j) { j.files["sd.xml"] += std::string(1024, 'x') + "\n"; },
       [](Job& j) { j.files["sd.xml"] += std::string(1023, 'x') + "\n"; }},
      {"template-nul", [](Job& j) { j.files["sj.xml"] = std::string("a\0b\n", 4); }, nothing},
      {"empty-template", [](Job& j) { j.files["sj.xml"] = ""; }, nothing},
      {"mark-in-send-data", [](Job& j) { j.files["sd.xml"].insert(0, "\xEF\xBB\xBF"); },
       [](Job& j) { j.files["sj.xml"].insert(0, "\xEF\xBB\xBF"); }},
      {"line-break-lost", [](Job& j) { j.files["sj.xml"] = "<j:A\nb=\"1\">\n</j:A>\n"; },
       [](Job& j) { j.files["sj.xml"] = "<j:A\r\n b=\"1\">\r\n<!-- x\ny -->\n</j:A>\n"; }},
      {"no-datasize", [](Job& j) { j.files["ej.xml"] = "<j:EJ/>\n"; }, nothing},
      {"no-datasize", [](Job& j) { j.files["sd.xml"] = "<j:continue>OFF</j:continue>\n"; }, nothing,
       true},
      {"no-continue", [](Job& j) { j.files["sd.xml"] = "<j:datasize>0</j:datasize>\n"; }, nothing},
      {"value-not-filled-in", [](Job& j) { j.files["ej.xml"] = "<j:datasize></j:datasize>\n"; },
       nothing},
      {"value-in-other-element",
       [](Job& j) { j.files["ej.xml"] += "<j:note>the datasize</j:note>\n"; },
       [](Job& j) { j.files["ej.xml"] += "<j:note>the size</j:note>\n"; }},
      {"override-unused", [](Job& j) { j.odax += "Copies = 3\n"; },
       [](Job& j) { j.odax += "Name = 3\n"; }},
      {"misspelt-template-key", [](Job& j) { j.odax += "VendorCmdXMLFile = \"vc.xml\"\n"; },
       [](Job& j) {
         j.odax += "VendorCmdXmlFile = \"vc.xml\"\n";
         j.files["vc.xml"] = "<j:VC/>\n";
       }},
      {"key-of-other-section", [](Job& j) { j.odax += "PrintableWidthInPixel = 16\n"; },
       [](Job& j) { j.hxraster += "PrintableWidthInPixel = 16\n"; }},
      {"override-key-length", [](Job& j) { j.odax += "= 5\n"; },
       [](Job& j) { j.odax += std::string(249, 'k') + " = 5\n"; }},
      {"override-key-length", [](Job& j) { j.odax += std::string(250, 'k') + " = 5\n"; }, nothing,
       true},
      {"override-replaced-again", [](Job& j) { j.odax += "Name = 3\nName = 4\n"; },
       [](Job& j) { j.odax += "Name = 3\nQuality = 4\n"; }},
      {"override-replaced-again", [](Job& j) { j.odax += "Quality = 3\nSet = 4\n"; }, nothing,
       true},
      {"override-damages-line",
       [](Job& j) {
         j.odax += "Name = 55\n";
         j.files["sj.xml"] = "<j:Name\n name=\"Name\">\n5</j:Name>\n";
       },
       [](Job& j) { j.odax += "Name = 55\n"; }},
      {"override-without-effect",
       [](Job& j) {
         j.odax += "Name = 55\n";
         j.files["sj.xml"] = "<j:A name=\"Name\"\n x=\"1\">5</j:A>\n";
       },
       [](Job& j) { j.odax += "Name = 55\n"; }},
      {"override-removes-elements",
       [](Job& j) {
         j.odax += "Name = 5\n";
         j.files["sj.xml"] = "<j:A><j:Name>1</j:Name></j:A>\n";
       },
       [](Job& j) { j.odax += "Name = 5\n"; }},
      {"override-matches-prefix", [](Job& j) { j.odax += "Qual = fine\n"; },
       [](Job& j) { j.odax += "Quality = fine\n"; }},
      {"override-of-size", [](Job& j) { j.odax += "datasize = 7\n"; }, nothing},
      {"suppression-of-size", [](Job& j) { j.odax += "continue = ODAXGEN_SUPPRESSION\n"; },
       [](Job& j) { j.odax += "Name = ODAXGEN_SUPPRESSION\n"; }},
      {"suppression-of-opening",
       [](Job& j) {
         j.odax += "Set = ODAXGEN_SUPPRESSION\n";
         j.files["sj.xml"] = "<j:Set>\n<j:A>1</j:A>\n</j:Set>\n";
       },
       [](Job& j) { j.odax += "Set = ODAXGEN_SUPPRESSION\n"; }},
      {"override-markup", [](Job& j) { j.odax += "Name = a & b\n"; },
       [](Job& j) { j.odax += "Name = a &amp; b\n"; }},
      // Image files.
      {"page-skipped",
       [](Job& j) {
         j.files["k.png"] = "x";
         j.replace("k.tif", "k.png");
       },
       [](Job& j) {
         j.files["k.TIFFany"] = j.files["k.tif"];
         j.replace("k.tif", "k.TIFFany");
       }},
      {"not-tiff", [](Job& j) { j.files["k.tif"] = "no picture"; }, nothing},
      {"not-tiff", [](Job& j) { j.files["k.tif"] = ""; }, nothing, true},
      {"big-tiff", [](Job& j) { j.files["k.tif"] = std::string("II\x2B\0\x08\0\0\0", 8); },
       [](Job& j) { j.files["k.tif"] = std::string("II\x2C\0\x08\0\0\0", 8); }},
      {"image-too-large",
       [](Job& j) { j.picture(with([](Picture& p) {
                      p.more = {{kTagWidth, 2147483648U}};
                    })); },
       nothing},
      {"image-too-large",
       [](Job& j) { j.picture(with([](Picture& p) {
                      p.more = {{kTagWidth, 2147483000U}};
                    })); },
       nothing, true},
      {"directory-cut", [](Job& j) { j.files["k.tif"].resize(j.files["k.tif"].size() - 20); },
       [](Job& j) { j.files["k.tif"].resize(j.files["k.tif"].size() - 4); }},
      {"several-images", [](Job& j) { j.picture(with([](Picture& p) { p.pages = 2; })); }, nothing},
      {"empty-image", [](Job& j) { j.picture(with([](Picture& p) { p.height = 0; })); }, nothing},
      {"tiled", [](Job& j) { j.picture(with([](Picture& p) {
                               p.more = {{322, 16}};
                             })); },
       [](Job& j) { j.picture(with([](Picture& p) {
                      p.more = {{339, 1}};
                    })); }},
      {"no-strips",
       [](Job& j) { j.picture(with([](Picture& p) { p.without = {kTagStripOffsets}; })); },
       nothing},
      {"short-offsets",
       [](Job& j) {
         j.picture(with([](Picture& p) {
           p.offsetType = kTiffShort;
           p.rowsPerStrip = 3;
         }));
       },
       [](Job& j) { j.picture(with([](Picture& p) { p.offsetType = kTiffShort; })); }},
      {"image-cut",
       [](Job& j) { j.picture(with([](Picture& p) {
                      p.more = {{kTagHeight, 60}};
                    })); },
       [](Job& j) { j.picture(with([](Picture& p) { p.rowsPerStrip = 1; })); }},
      {"image-cut",
       [](Job& j) {
         j.picture(with([](Picture& p) {
           p.compression = kPackBits;
           p.more = {{kTagHeight, 60000}};
         }));
       },
       nothing, true},
      {"separate-planes",
       [](Job& j) {
         useCmyk(j, with([](Picture& p) { p.more = {{284, 2}}; }, cmyk()));
       },
       [](Job& j) { j.picture(with([](Picture& p) {
                      p.more = {{284, 2}};
                    })); }},
      {"samples-disagree",
       [](Job& j) { j.picture(with([](Picture& p) {
                      p.more = {{kTagSamplesPerPixel, 3}};
                    })); },
       nothing},
      {"composite-of-one-bit",
       [](Job& j) {
         useCmyk(j, with([](Picture& p) { p.bits = {1, 1, 1, 1}; }, cmyk()));
         j.image += "";
       },
       [](Job& j) { useCmyk(j, cmyk()); }},
      {"composite-samples",
       [](Job& j) {
         useCmyk(j, with([](Picture& p) { p.bits = {8, 8, 8, 8, 8}; }, cmyk()));
       },
       [](Job& j) { useCmyk(j, cmyk()); }},
      {"no-photometric",
       [](Job& j) { j.picture(with([](Picture& p) { p.without = {kTagPhotometric}; })); }, nothing},
      {"palette", [](Job& j) { j.picture(with([](Picture& p) { p.photometric = 3; })); },
       [](Job& j) { j.picture(with([](Picture& p) { p.photometric = 1; })); }},
      {"composite-inverted",
       [](Job& j) { useCmyk(j, with([](Picture& p) { p.photometric = 2; }, cmyk())); },
       [](Job& j) { useCmyk(j, cmyk()); }},
      {"not-rgb", [](Job& j) { useRgb(j, with([](Picture& p) { p.photometric = 6; }, rgb())); },
       [](Job& j) { useRgb(j, rgb()); }},
      {"fill-order",
       [](Job& j) {
         j.picture(with([](Picture& p) {
           p.bits = {1};
           p.more = {{266, 2}};
         }));
         j.replace("PixelDepthK = 2", "PixelDepthK = 1");
       },
       [](Job& j) { j.picture(with([](Picture& p) {
                      p.more = {{266, 2}};
                    })); }},
      {"orientation", [](Job& j) { j.picture(with([](Picture& p) {
                                     p.more = {{274, 3}};
                                   })); },
       [](Job& j) { j.picture(with([](Picture& p) {
                      p.more = {{274, 1}};
                    })); }},
      // Planes.
      {"depth-pair", [](Job& j) { j.replace("PixelDepthK = 2", "PixelDepthK = 3"); }, nothing},
      {"depth-pair",
       [](Job& j) {
         useRgb(j, rgb());
         j.replace("PixelDepthG = 8", "PixelDepthG = 10");
       },
       [](Job& j) { useRgb(j, rgb()); }, true},
      {"depth-pair",
       [](Job& j) {
         useCmyk(j, with([](Picture& p) { p.bits = {16, 16, 16, 16}; }, cmyk()));
       },
       [](Job& j) { useCmyk(j, cmyk()); }, true},
      {"depth-too-large", [](Job& j) { j.replace("PixelDepthK = 2", "PixelDepthK = 128"); },
       [](Job& j) { j.replace("PixelDepthK = 2", "PixelDepthK = 127"); }},
      {"depth-without-file", [](Job& j) { j.replace("ImageFileK = \"k.tif\"\n", ""); }, nothing},
      {"file-without-depth", [](Job& j) { j.image += "ImageFileC = \"k.tif\"\nPixelDepthC = 0\n"; },
       nothing},
      {"beside-rgb",
       [](Job& j) {
         useRgb(j, rgb());
         j.image += "ImageFileR = \"k.tif\"\n";
       },
       [](Job& j) { useRgb(j, rgb()); }},
      {"beside-cmyk",
       [](Job& j) {
         useCmyk(j, cmyk());
         j.image += "ImageFileC = \"k.tif\"\n";
       },
       [](Job& j) { useCmyk(j, cmyk()); }},
      {"green-not-read",
       [](Job& j) {
         j.image =
             "ImageFileG = \"k.tif\"\nColorSpace = 5\nNumOfPlanes = 1\nPixelDepthG = 8\n"
             "CompressionMode = 2\n";
       },
       nothing},
      {"dark-half-lost", [](Job& j) { j.replace("PixelDepthK = 2", "PixelDepthK = 1"); },
       [](Job& j) {
         j.replace("PixelDepthK = 2", "PixelDepthK = 1");
         j.picture(with([](Picture& p) { p.photometric = 1; }));
       }},
      {"bilevel-inverted",
       [](Job& j) {
         j.replace("PixelDepthK = 2", "PixelDepthK = 1");
         j.picture(with([](Picture& p) {
           p.bits = {1};
           p.photometric = 5;
         }));
       },
       [](Job& j) {
         j.replace("PixelDepthK = 2", "PixelDepthK = 1");
         j.picture(with([](Picture& p) { p.bits = {1}; }));
       }},
      // Pages.
      {"page-without-image", [](Job& j) { j.after = "[Image]\nStartingPositionX = 5\n"; },
       [](Job& j) { j.after = "[Image]\nImageFileK = \"k.tif\"\n"; }},
      {"no-rows", [](Job& j) { j.replace("CompressionMode = 2", "CompressionMode = 5"); }, nothing},
      {"no-rows",
       [](Job& j) {
         j.after =
             "[Image]\nImageFileK = \"k.tif\"\nColorSpace = 5\nNumOfPlanes = 1\n"
             "PixelDepthK = 2\n";
       },
       [](Job& j) {
         j.after =
             "[Image]\nImageFileK = \"k.tif\"\nColorSpace = 5\nNumOfPlanes = 1\n"
             "PixelDepthK = 2\nCompressionMode = 0\n";
       },
       true},
      {"plane-sizes",
       [](Job& j) {
         useCmyk(j, cmyk());
         j.replace("ImageFileCMYK = \"c.tif\"\n",
                   "ImageFileC = \"k.tif\"\nImageFileM = \"k.tif\"\nImageFileY = \"k.tif\"\n"
                   "ImageFileK = \"w.tif\"\n");
         j.files["w.tif"] = text(tiff(with([](Picture& p) { p.width = 20; })));
       },
       [](Job& j) {
         useCmyk(j, cmyk());
         j.replace("ImageFileCMYK = \"c.tif\"\n",
                   "ImageFileC = \"k.tif\"\nImageFileM = \"k.tif\"\nImageFileY = \"k.tif\"\n"
                   "ImageFileK = \"k.tif\"\n");
       }},
      {"planes-not-sent",
       [](Job& j) {
         useCmyk(j, cmyk());
         j.replace("ColorSpace = 3\nNumOfPlanes = 4", "ColorSpace = 19\nNumOfPlanes = 1");
       },
       [](Job& j) { useCmyk(j, cmyk()); }},
      {"inks-not-announced",
       [](Job& j) {
         j.replace("ImageFileK", "ImageFileGy");
         j.replace("PixelDepthK", "PixelDepthGy");
       },
       [](Job& j) {
         j.replace("ImageFileK", "ImageFileC");
         j.replace("PixelDepthK", "PixelDepthC");
       }},
      {"gray-as-ink", [](Job& j) { j.replace("ColorSpace = 5", "ColorSpace = 2"); },
       [](Job& j) {
         j.replace("ColorSpace = 5", "ColorSpace = 2");
         j.replace("PixelDepthK = 2", "PixelDepthK = 8");
       }},
      {"rgb-without-composite",
       [](Job& j) {
         useRgb(j, rgb());
         j.replace("ImageFileRGB = \"r.tif\"\n",
                   "ImageFileR = \"k.tif\"\nImageFileB = \"k.tif\"\n");
       },
       [](Job& j) { useRgb(j, rgb()); }},
      {"color-space-4", [](Job& j) { j.replace("ColorSpace = 5", "ColorSpace = 0x4"); },
       [](Job& j) { j.replace("ColorSpace = 5", "ColorSpace = 4"); }},
      {"color-space-4",
       [](Job& j) {
         j.replace("ColorSpace = 5",
                   "ColorSpace = hxraster_id_val_image_format_row_inkcolor_index");
       },
       [](Job& j) {
         j.replace("ColorSpace = 5",
                   "ColorSpace = hxraster_id_val_image_format_row_inkcolor_index\n"
                   "IndexLevelK = 4");
       },
       true},
      {"levels-inverted",
       [](Job& j) {
         j.replace("ColorSpace = 5", "ColorSpace = 4");
         j.picture(with([](Picture& p) { p.photometric = 1; }));
       },
       [](Job& j) { j.replace("ColorSpace = 5", "ColorSpace = 4"); }},
      {"wider-than-printable", [](Job& j) { j.hxraster += "PrintableWidthInPixel = 15\n"; },
       [](Job& j) { j.hxraster += "PrintableWidthInPixel = 16\n"; }},
      {"narrower-than-printable",
       [](Job& j) {
         useRgb(j, rgb());
         j.hxraster += "PrintableWidthInPixel = 17\n";
       },
       [](Job& j) {
         useRgb(j, rgb());
         j.hxraster += "PrintableWidthInPixel = 16\n";
       }},
      {"printable-width-zero",
       [](Job& j) {
         useRgb(j, rgb());
         j.hxraster += "PrintableWidthInPixel = 0\n";
       },
       [](Job& j) { j.hxraster += "PrintableWidthInPixel = 0\n"; }},
      {"width-unknown",
       [](Job& j) {
         useRgb(j, rgb());
         j.after = "[Image]\nImageFileRGB = \"r.png\"\n";
         j.files["r.png"] = "x";
       },
       [](Job& j) {
         useRgb(j, rgb());
         j.after = "[Image]\nImageFileRGB = \"r.png\"\n";
         j.files["r.png"] = "x";
         j.hxraster += "PrintableWidthInPixel = 16\n";
       }},
      {"white-rows-lost",
       [](Job& j) {
         j.files["r.tif"] = text(tiff(rgb()));
         j.after = std::string("[Image]\n") + kRgbPage;
         j.hxraster += "PrintableWidthInPixel = 32\n";
       },
       [](Job& j) {
         j.files["r.tif"] = text(tiff(rgb()));
         j.after = std::string("[Image]\n") + kRgbPage;
         j.hxraster += "PrintableWidthInPixel = 16\n";
       }},
      {"format-lost",
       [](Job& j) {
         j.files["k.png"] = "x";
         j.replace("k.tif", "k.png");
         j.after = "[Image]\nImageFileK = \"k.tif\"\n";
       },
       [](Job& j) {
         j.files["k.png"] = "x";
         j.after = "[Image]\nImageFileK = \"k.png\"\n";
       }},
      {"hxrc-row-long",
       [](Job& j) {
         j.replace("CompressionMode = 2", "CompressionMode = 4");
         j.replace("PixelDepthK = 2", "PixelDepthK = 8");
         j.picture(with([](Picture& p) { p.width = 40001; }));
       },
       [](Job& j) {
         j.replace("CompressionMode = 2", "CompressionMode = 4");
         j.replace("PixelDepthK = 2", "PixelDepthK = 8");
         j.picture(with([](Picture& p) { p.width = 40000; }));
       }},
      {"hxrc-row-too-long",
       [](Job& j) {
         j.replace("CompressionMode = 2", "CompressionMode = 4");
         j.replace("PixelDepthK = 2", "PixelDepthK = 8");
         j.picture(with([](Picture& p) { p.width = 120001; }));
       },
       [](Job& j) {
         j.replace("CompressionMode = 2", "CompressionMode = 4");
         j.replace("PixelDepthK = 2", "PixelDepthK = 8");
         j.picture(with([](Picture& p) { p.width = 120000; }));
       }},
  };
  return kCases;
}

class WarningTest : public CheckTest, public testing::WithParamInterface<size_t> {};

TEST_P(WarningTest, ComesWithItsJobAndNotWithTheNextOne) {
  const WarningCase& warning = warningCases()[GetParam()];
  SCOPED_TRACE(warning.id);
  Job odd;
  warning.odd(odd);
  writeJob(odd);
  EXPECT_THAT(found(), Contains(warning.id)) << check().out;
  // It runs all the same.
  const ProgramResult plain = check();
  EXPECT_EQ(plain.exitCode, 0) << plain.out;
  const ProgramResult run = runOdaxgen({"run", "-q", "job.cfg"}, path());
  EXPECT_EQ(run.exitCode, 0) << run.err;

  Job twin;
  warning.twin(twin);
  writeJob(twin);
  EXPECT_THAT(found(), Not(Contains(warning.id))) << check().out;
}

std::string warningName(const testing::TestParamInfo<size_t>& info) {
  std::string name = std::string(warningCases()[info.param].id) + "_" + std::to_string(info.param);
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(Warnings, WarningTest, testing::Range(size_t{0}, warningCases().size()),
                         warningName);

TEST_F(CheckTest, TheJobThatTheCasesChangeIsSound) {
  writeJob({});
  const ProgramResult result = check();
  EXPECT_EQ(result.out, "no problems\n");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.exitCode, 0);
}

TEST_F(CheckTest, TheExampleIsSound) {
  const ExampleJob example;
  const ProgramResult result =
      runOdaxgen({"check", "newsletter/newsletter.cfg", "newsletter/newsletter-one-packet.cfg"},
                 example.path());
  EXPECT_EQ(result.out, "no problems\n");
  EXPECT_EQ(result.exitCode, 0);
}

// Errors ------------------------------------------------------------------------------------------

struct ErrorCase {
  const char* code;
  std::function<void(Job&)> odd;
  int line;          // of job.cfg, unless `file` is another one; 0: the file as a whole
  const char* part;  // of the text
  const char* file = "job.cfg";
};

constexpr int kGlobal = 1, kOdax = 4, kHXRaster = 10, kImage = 13;  // lines of the headers

const std::vector<ErrorCase>& errorCases() {
  static const std::vector<ErrorCase> kCases = {
      {"-4", [](Job& j) { j.global += "SendDataFile\n"; }, kGlobal + 3, "no \"key = value\""},
      {"-4", [](Job& j) { j.global += "SendDataFile =\n"; }, kGlobal + 3, "has no value"},
      {"-4", [](Job& j) { j.global += " \n"; }, kGlobal + 3, "a line of blanks"},
      {"-4", [](Job& j) { j.odax += "Name = \"a\"b\"\n"; }, kOdax + 6, "no quoted string"},
      {"-4", [](Job& j) { j.odax += "[Image] # x\n"; }, kOdax + 6, "no section header"},
      {"-4", [](Job& j) { j.odax += "[Page]\n"; }, kOdax + 6, "unknown section"},
      {"-4",
       [](Job& j) {
         for (int i = 0; i < 129; ++i) j.odax += "Name = 5\n";
       },
       kOdax + 6 + 128, "more than 128"},
      {"-5", [](Job& j) { j.odax += "[Image]\nImageFileK = \"k.tif\"\n"; }, kOdax + 6,
       "before [HXRaster]"},
      {"-8", [](Job& j) { j.after = "/* never\nclosed\n"; }, kImage + 6, "never closed"},
      {"-11", [](Job& j) { j.after = "/*\n/*\n*/\n"; }, kImage + 7, "inside a comment"},
      {"-12", [](Job& j) { j.global += "PrintableWidthInPixel = 5\n"; }, kGlobal + 3,
       "in [Global]"},
      {"-13", [](Job& j) { j.hxraster += "Width = 5\n"; }, kHXRaster + 3, "in [HXRaster]"},
      {"-14", [](Job& j) { j.image += "IndexLevelG = 5\n"; }, kImage + 6, "in [Image]"},
      {"-15", [](Job& j) { j.image += "StartingPositionX = 5\nStartingPositionX = 5\n"; },
       kImage + 7, "stands in line 19"},
      {"-16", [](Job& j) { j.image += "StartingPositionX = 5mm\n"; }, kImage + 6, "a number"},
      {"-17", [](Job& j) { j.image += "YOffset = 5\nYOffset = 5\n"; }, kImage + 7, "twice"},
      {"-18", [](Job& j) { j.image += "YOffset = -5\n"; }, kImage + 6, "a number of rows"},
      {"-19", [](Job& j) { j.image += "PixelDepthC = 2\n"; }, kImage + 3, "2 inks have"},
      {"-20", [](Job& j) { j.replace("ColorSpace = 5", "ColorSpace = 18"); }, kImage + 3,
       "exactly three"},
      {"-22",
       [](Job& j) {
         j.image += "PixelDepthC = 2\n";
         j.replace("ColorSpace = 5\nNumOfPlanes = 1", "ColorSpace = 2\nNumOfPlanes = 2");
       },
       kImage + 2, "2 planes"},
      {"-23", [](Job& j) { j.replace("ColorSpace = 5", "ColorSpace = 3"); }, kImage + 2, "1 plane"},
      {"-24",
       [](Job& j) {
         j.image += "PixelDepthC = 2\n";
         j.replace("NumOfPlanes = 1", "NumOfPlanes = 2");
       },
       kImage + 2, "2 planes"},
      {"-25",
       [](Job& j) {
         j.replace("ColorSpace = 5\nNumOfPlanes = 1", "ColorSpace = 19\nNumOfPlanes = 2");
       },
       kImage + 2, "2 planes"},
      {"-26", [](Job& j) { j.replace("ColorSpace = 5", "ColorSpace = 6"); }, kImage + 2,
       "no ColorSpace 6"},
      {"-27", [](Job& j) { j.global += "OutFilePath = \"b\"\n"; }, kGlobal + 3, "twice"},
      {"-28", [](Job& j) { j.replace("\"out.odx\"", "out.odx"); }, kGlobal + 1, "in double quotes"},
      {"-30", [](Job& j) { j.global += "SplitDataSize = 5\n"; }, kGlobal + 3, "twice"},
      {"-31", [](Job& j) { j.replace("65536", "64k"); }, kGlobal + 2, "a number"},
      {"-32", [](Job& j) { j.image += "ColorSpace = 5\n"; }, kImage + 6, "twice"},
      {"-33", [](Job& j) { j.replace("ColorSpace = 5", "ColorSpace = inks"); }, kImage + 2,
       "symbols"},
      {"-34", [](Job& j) { j.image += "IndexLevelK = 7\n"; }, kImage + 6, "one of 0, 2"},
      {"-35", [](Job& j) { j.replace("H = 600", "H = 0xFFFFFFFF"); }, kHXRaster + 1, "is -1"},
      {"-36", [](Job& j) { j.replace("GraphicsResolutionH = 600\n", ""); }, kHXRaster,
       "GraphicsResolutionH is missing"},
      {"-36", [](Job& j) { j.replace("PixelDepthK = 2\n", ""); }, kImage, "ImageFileK needs it"},
      {"-36", [](Job& j) { j.after = "[Image]\n"; }, kImage + 6, "is empty"},
      {"-36", [](Job& j) { j.image += "ImageFilem = \"k.tif\"\nPixelDepthm = 0\n"; }, kImage + 7,
       "PixelDepthm must be at least 1"},
      {"-37", [](Job& j) { j.replace("\"k.tif\"", "\"C:\\k.tif\""); }, kImage + 1, "has a drive"},
      {"-39", [](Job& j) { j.global += "ImageProcessingFile = \"none\"\n"; }, kGlobal + 3,
       "does not exist: none"},
      {"-40", [](Job& j) { j.replace("k.tif", "none.tif"); }, kImage + 1,
       "does not exist: none.tif"},
      {"-41", [](Job& j) { j.picture(with([](Picture& p) { p.compression = kLzw; })); }, kImage + 1,
       "compressed with LZW"},
      {"-42", [](Job& j) { useRgb(j, with([](Picture& p) { p.compression = kLzw; }, rgb())); },
       kImage + 1, "compressed with LZW"},
      {"Internal Exception",
       [](Job& j) { useCmyk(j, with([](Picture& p) { p.compression = 7; }, cmyk())); }, kImage + 1,
       "compressed with JPEG"},
      {"-47",
       [](Job& j) {
         j.replace("out.odx", "none/out.odx");
         j.replace("65536", "0");
       },
       kGlobal + 1, "a folder that is not there"},
      {"-49",
       [](Job& j) {
         j.files["folder/x"] = "";
         j.replace("out.odx", "folder");
       },
       kGlobal + 1, "is a folder"},
      {"-51", [](Job& j) { j.replace("StartJobXmlFile = \"sj.xml\"\n", ""); }, kOdax,
       "StartJobXmlFile is missing"},
      {"-53", [](Job& j) { j.replace("sjc.xml", "no.xml"); }, kOdax + 2,
       "cannot be opened: no.xml"},
      {"-55", [](Job& j) { j.replace("sc.xml", "no.xml"); }, kOdax + 3, "cannot be opened"},
      {"-57", [](Job& j) { j.odax += "VendorCmdXmlFile = \"\"\n"; }, kOdax + 6, "is empty"},
      {"-59", [](Job& j) { j.replace("sd.xml", "no.xml"); }, kOdax + 4, "cannot be opened"},
      {"-62",
       [](Job& j) {
         j.replace("sd.xml", "no.xml");
         j.replace("65536", "0");
       },
       kOdax + 4, "cannot be opened"},
      {"-65", [](Job& j) { j.replace("ej.xml", "no.xml"); }, kOdax + 5, "cannot be opened"},
      {"-67", [](Job& j) { j.odax += "Name = " + std::string(1010, 'x') + "\n"; }, kOdax + 6,
       "line 2 of sj.xml"},
      {"-71", [](Job& j) { j.files["ej.xml"] += "<!-- datasize -->\n"; }, 4, "no element",
       "ej.xml"},
      {"-73", [](Job& j) { j.files["sd.xml"] += "<continue>\n"; }, 5, "no element", "sd.xml"},
      {"Is a directory",
       [](Job& j) {
         j.files["folder/x"] = "";
         j.global += "SendDataFile = \"folder\"\n";
       },
       kGlobal + 3, "is a folder: folder"},
      {"-74", [](Job& j) { j.global += "SendDataFile = \"none\"\n"; }, kGlobal + 3,
       "cannot be opened: none"},
  };
  return kCases;
}

class ErrorTest : public CheckTest, public testing::WithParamInterface<size_t> {
 protected:
  // How the job ends: a code or a text.
  [[nodiscard]] std::string ending() const {
    const ProgramResult run = runOdaxgen({"run", "--json", "job.cfg"}, path());
    const Json job = Json::parse(run.out)["jobs"][0];
    if (!job["code"].is_null()) return job["code"].dump();
    const std::string cause = job["cause"];  // may begin with a path
    const size_t text = cause.rfind(": ");
    return text == std::string::npos ? cause : cause.substr(text + 2);
  }
};

TEST_P(ErrorTest, IsListedWithItsPlaceAndEndsTheJob) {
  const ErrorCase& error = errorCases()[GetParam()];
  SCOPED_TRACE(error.code);
  Job odd;
  error.odd(odd);
  writeJob(odd);
  const ProgramResult result = check();
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err, "");
  const std::string place =
      std::string(error.file) + ":" + (error.line > 0 ? std::to_string(error.line) + ":" : "");
  const std::string first =
      result.out.substr(result.out.find(" error: ") == std::string::npos
                            ? 0
                            : result.out.rfind('\n', result.out.find(" error: ")) + 1);
  const std::string line = first.substr(0, first.find('\n'));
  EXPECT_THAT(line, StartsWith(place + " error: ")) << result.out;
  EXPECT_THAT(line, HasSubstr(error.part));
  EXPECT_THAT(line, EndsWith(std::string(" [") + error.code + "]"));
  EXPECT_THAT(result.out, HasSubstr("  hint: ")) << "nobody says how to mend it";
  EXPECT_EQ(ending(), error.code);
}

std::string errorName(const testing::TestParamInfo<size_t>& info) {
  std::string name = std::string(errorCases()[info.param].code) + "_" + std::to_string(info.param);
  std::replace_if(
      name.begin(), name.end(), [](char c) { return c == '-' || c == ' '; }, '_');
  return "code" + name;
}

INSTANTIATE_TEST_SUITE_P(Errors, ErrorTest, testing::Range(size_t{0}, errorCases().size()),
                         errorName);

TEST_F(CheckTest, SectionsThatAreMissingAreListedTogether) {
  write("job.cfg", "");
  EXPECT_THAT(found(), IsSupersetOf({"-9", "-10", "-51", "-53", "-55", "-65"}));
}

TEST_F(CheckTest, AConfigurationThatIsNotThereIsAnError) {
  const ProgramResult result = check({"none.cfg"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out,
            "none.cfg: error: the configuration cannot be opened [-3]\n"
            "  hint: check the path and the permissions\n"
            "1 error\n");
}

TEST_F(CheckTest, APathThatIsTooLongIsAnError) {
  write("job.cfg", std::string("\n"));
  const ProgramResult result = check({std::string(250, 'x') + "/job.cfg"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.out, HasSubstr(" [-43]\n"));
}

TEST_F(CheckTest, ATemporaryFolderThatIsNotThereIsAnErrorOfJobsInOnePacket) {
  Job job;
  writeJob(job, "split.cfg");
  job.replace("65536", "0");
  writeJob(job, "whole.cfg");
  const auto checkWith = [this](const char* config) {
    return runProgram({"/usr/bin/env", "TMPDIR=" + path("none"), ODAXGEN_PROGRAM, "check", config},
                      path());
  };
  EXPECT_EQ(checkWith("split.cfg").out, "no problems\n");
  EXPECT_THAT(checkWith("whole.cfg").out, HasSubstr(" [-46]\n"));
}

TEST_F(CheckTest, ATemporaryFolderWithALongPathIsAnError) {
  Job job;
  job.replace("65536", "0");
  writeJob(job);
  // A private folder of 15 characters is made in it, with its slash; 243 are the most.
  for (const size_t length : {size_t{227}, size_t{228}}) {
    std::string folder = path() + "/";
    folder.append(length - folder.size(), 't');
    std::filesystem::create_directories(folder);
    const ProgramResult result = runProgram(
        {"/usr/bin/env", "TMPDIR=" + folder, ODAXGEN_PROGRAM, "check", "job.cfg"}, path());
    EXPECT_EQ(result.exitCode, length == 227 ? 0 : 1) << result.out;
    EXPECT_EQ(result.out.find(" [-68]\n") != std::string::npos, length > 227);
    const ProgramResult run = runProgram(
        {"/usr/bin/env", "TMPDIR=" + folder, ODAXGEN_PROGRAM, "run", "-q", "job.cfg"}, path());
    EXPECT_EQ(run.exitCode, result.exitCode) << run.err;
  }
}

// All in one go -----------------------------------------------------------------------------------

TEST_F(CheckTest, AllErrorsAreListedAtOnce) {
  Job job;
  job.global = "OutFilePath = out\nSplitDataSize = many\nColour = 5\n";
  job.odax = "StartJobXmlFile = \"sj.xml\"\nName\n";
  job.hxraster = "GraphicsResolutionH = 600\n";
  job.image = "ImageFileK = \"none.tif\"\nColorSpace = 5\nNumOfPlanes = 1\nPixelDepthK = x\n";
  writeJob(job);
  EXPECT_THAT(found(), IsSupersetOf({"-28", "-31", "-12", "-4", "-36", "-31", "-36", "-40", "-53",
                                     "-55", "-65"}));
}

TEST_F(CheckTest, AMisspeltKeyIsNotAlsoAMissingOne) {
  Job job;
  job.replace("PixelDepthK", "PixelDeptK");
  job.replace("GraphicsResolutionV", "GraphicResolutionV");
  writeJob(job);
  EXPECT_THAT(found(), ElementsAre("-13", "-14"));
  EXPECT_THAT(check().out, HasSubstr("  hint: did you mean PixelDepthK?\n"));
}

TEST_F(CheckTest, ABadHeaderIsTakenAsTheSectionItMeans) {
  Job job;
  writeJob(job);
  std::string text = job.configuration();
  text.replace(text.find("[HXRaster]"), 10, "[HXRaster] # dots per inch");
  write("job.cfg", text);
  EXPECT_THAT(found(), ElementsAre("-4"));
}

TEST_F(CheckTest, AnUnknownSectionHasNoFurtherErrors) {
  Job job;
  job.odax += "[Printer]\nSpeed\nColour = \"x\"y\n";
  writeJob(job);
  EXPECT_THAT(found(), ElementsAre("-4"));
}

TEST_F(CheckTest, ABadNumberIsNoReasonForErrorsOfThePage) {
  Job job;
  job.replace("PixelDepthK = 2", "PixelDepthK = two");
  job.after = "[Image]\nImageFileK = \"k.tif\"\n";
  writeJob(job);
  EXPECT_THAT(found(), ElementsAre("-31"));
}

TEST_F(CheckTest, AMisspeltTemplateKeyIsNamedWithTheOneThatIsMissing) {
  Job job;
  job.replace("EndJobXmlFile", "EndJobXMLFile");
  writeJob(job);
  const ProgramResult result = check();
  EXPECT_EQ(result.out,
            "job.cfg:9: error: EndJobXmlFile is missing; EndJobXMLFile is taken as an override "
            "[-65]\n"
            "  hint: did you mean EndJobXmlFile?\n"
            "1 error\n");
}

TEST_F(CheckTest, ErrorsOfPacketsAndImagesStandAsTheJobMeetsThem) {
  for (const char* size : {"20", "65536"}) {
    Job job;
    job.picture(with([](Picture& p) { p.compression = kLzw; }));
    job.files["sd.xml"] = "<datasize>\n";
    job.replace("65536", size);
    writeJob(job);
    const std::vector<std::string> errors = found();
    ASSERT_GE(errors.size(), 2U);
    EXPECT_EQ(errors[0], std::string(size) == "20" ? "-71" : "-41");
    EXPECT_EQ(errors[1], std::string(size) == "20" ? "no-continue" : "-71");
  }
}

TEST_F(CheckTest, LinesAreThoseOfAnEditorAlsoWithCarriageReturns) {
  Job job;
  job.image += "Colour = 5\n";
  std::string text = job.configuration();
  for (size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += 2)
    text.replace(at, 1, "\r\n");
  writeJob(job);
  write("job.cfg", "\xEF\xBB\xBF" + text);
  EXPECT_THAT(check().out, StartsWith("job.cfg:19: error: unknown key \"Colour\" in [Image]"));
}

TEST_F(CheckTest, FilesAreNamedAsTheConfigurationWas) {
  Job job;
  job.files["sub/x"] = "";
  writeJob(job);
  std::filesystem::create_directories(path("sub"));
  for (const auto& [file, content] : job.files) write("sub/" + file, content);
  write("sub/ej.xml", "<datasize>\n");
  write("sub/job.cfg", job.configuration());
  EXPECT_THAT(check({"sub/job.cfg"}).out, StartsWith("sub/ej.xml:1: error: "));
  EXPECT_THAT(check({path("sub/job.cfg")}).out, StartsWith(path("sub/ej.xml") + ":1: error: "));
}

TEST_F(CheckTest, NothingIsWritten) {
  writeJob({});
  EXPECT_EQ(check().exitCode, 0);
  EXPECT_FALSE(exists("out.odx"));
}

// How it is said ----------------------------------------------------------------------------------

TEST_F(CheckTest, WarningsLeaveTheExitCodeUnlessTheyAreStrict) {
  Job job;
  job.odax += "Copies = 3\n";
  writeJob(job);
  const std::string text =
      "job.cfg:10: warning: no line of the job's templates has the key Copies; the override has no "
      "effect [override-unused]\n"
      "  hint: a line carries a key as <x:KEY> or as name=\"KEY\"\n"
      "1 warning\n";
  EXPECT_EQ(check().out, text);
  EXPECT_EQ(check().exitCode, 0);
  EXPECT_EQ(check({"--strict", "job.cfg"}).out, text);
  EXPECT_EQ(check({"--strict", "job.cfg"}).exitCode, 1);
  writeJob({});
  EXPECT_EQ(check({"--strict", "job.cfg"}).exitCode, 0);
}

TEST_F(CheckTest, AMisspeltOverrideIsHeldAgainstTheTemplates) {
  Job job;
  job.odax += "quality = fine\n";
  writeJob(job);
  EXPECT_THAT(check().out, HasSubstr(" [override-unused]\n  hint: did you mean Quality?\n"));
}

TEST_F(CheckTest, TheSummaryCountsBoth) {
  Job job;
  job.odax += "Copies = 3\nNote = 4\n";
  job.image += "Colour = 5\n";
  writeJob(job);
  EXPECT_THAT(check().out, EndsWith("\n1 error, 2 warnings\n"));
}

TEST_F(CheckTest, QuietIsOnlyTheProblems) {
  Job job;
  job.odax += "Copies = 3\n";
  writeJob(job);
  EXPECT_THAT(check({"-q", "job.cfg"}).out, EndsWith(" [override-unused]\n"));
  writeJob({});
  EXPECT_EQ(check({"-q", "job.cfg"}).out, "");
}

TEST_F(CheckTest, ControlCharactersOfFilesAreShown) {
  Job job;
  job.global += "\x1B[31mred\n";
  writeJob(job);
  const std::string out = check().out;
  EXPECT_THAT(out, HasSubstr("\\x1B[31mred"));
  EXPECT_EQ(out.find('\x1B'), std::string::npos);
}

TEST_F(CheckTest, ThereAreNoColoursWithoutATerminal) {
  Job job;
  job.image += "Colour = 5\n";
  writeJob(job);
  const ProgramResult result = runProgram(
      {"/usr/bin/env", "TERM=xterm-256color", ODAXGEN_PROGRAM, "check", "job.cfg"}, path());
  EXPECT_EQ(result.out.find('\x1B'), std::string::npos);
}

TEST_F(CheckTest, ColoursAreForTerminalsThatWantThem) {
  write("job.cfg", "NoSuchKey=1\n[Global]\nNoSuchKey=1\n");
  const auto coloursWith = [this](const std::map<std::string, std::string>& variables) {
    const ProgramResult result = runOdaxgenOnTerminal({"check", "job.cfg"}, path(), variables);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.out, HasSubstr("job.cfg:3:"));
    return result.out.find('\033') != std::string::npos;
  };
  EXPECT_TRUE(coloursWith({}));
  EXPECT_TRUE(coloursWith({{"NO_COLOR", ""}})) << "empty is as good as not set";
  EXPECT_FALSE(coloursWith({{"NO_COLOR", "1"}}));
  EXPECT_FALSE(coloursWith({{"TERM", "dumb"}}));
}

TEST_F(CheckTest, JsonIsOneDocumentAndNothingElse) {
  Job job;
  job.odax += "Copies = 3\n";
  job.picture(with([](Picture& p) { p.compression = kLzw; }));
  writeJob(job, "a.cfg");
  writeJob({}, "b.cfg");
  useCmyk(job, with([](Picture& p) { p.compression = kLzw; }, cmyk()));
  job.replace("out.odx", "c.odx");
  writeJob(job, "c.cfg");
  const ProgramResult result = check({"--json", "a.cfg", "b.cfg", "c.cfg", "none.cfg"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err, "");
  const Json json = Json::parse(result.out);
  EXPECT_EQ(schemaProblems("check", json), "");
  EXPECT_EQ(json["jobs"].size(), 4U);
  EXPECT_EQ(json["jobs"][0]["config"], "a.cfg");
  const Json& thrown = json["jobs"][2]["problems"][0];
  EXPECT_EQ(thrown["thrown"], "Internal Exception");
  EXPECT_TRUE(thrown["code"].is_null());
  const Json& missing = json["jobs"][3]["problems"][0];
  EXPECT_EQ(missing["code"], -3);
  EXPECT_TRUE(missing["line"].is_null());
  EXPECT_EQ(missing["file"], "none.cfg");
}

TEST_F(CheckTest, TwoJobsWithOneOutputAreSeenTogether) {
  writeJob({}, "a.cfg");
  writeJob({}, "b.cfg");
  const ProgramResult result = check({"a.cfg", "b.cfg"});
  EXPECT_EQ(result.out, "b.cfg: warning: this job and that of a.cfg write the same file, " +
                            std::filesystem::canonical(path()).string() +
                            "/out.odx; the later one replaces the earlier [same-output]\n"
                            "  hint: give each its own OutFilePath\n"
                            "1 warning\n");
  Job other;
  other.replace("out.odx", "b.odx");
  writeJob(other, "b.cfg");
  EXPECT_EQ(check({"a.cfg", "b.cfg"}).out, "no problems\n");
}

TEST_F(CheckTest, WrongUsageIsExitCodeTwo) {
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{}, {"--colour", "job.cfg"}}) {
    const ProgramResult result = check(arguments);
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, HasSubstr("try 'odaxgen check --help'"));
  }
}

// The document lists every warning, and no other.
TEST_F(CheckTest, TheDocumentNamesEveryWarningThatIsTested) {
  const TempFolder source;
  const std::string document =
      runProgram({"/bin/cat", std::string(ODAXGEN_SOURCE_FOLDER) + "/docs/check-json.md"}, path())
          .out;
  std::set<std::string> tested = {"same-output", "default-output-folder", "too-many-directories"};
  for (const WarningCase& warning : warningCases()) tested.insert(warning.id);
  std::set<std::string> named;
  for (size_t at = 0; (at = document.find("\n| `", at)) != std::string::npos; ++at) {
    const size_t begin = at + 4;
    const std::string word = document.substr(begin, document.find('`', begin) - begin);
    if (word.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-") == std::string::npos)
      named.insert(word);
  }
  for (const std::string& id : tested) EXPECT_EQ(named.count(id), 1U) << id;
}

}  // namespace
