// RandomJob - configurations as they come in, and worse: whole ones, odd ones and broken ones, with
// templates and images of all kinds. The same seed gives the same job.
#pragma once

#include <cstdint>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "Images.h"
#include "TempFolder.h"
#include "TiffFacts.h"
#include "TiffWriter.h"

class RandomJob {
 public:
  /// Writes the images that all jobs choose from into the folder.
  explicit RandomJob(const TempFolder& folder) : folder_(folder) { writeImages(); }

  /// Writes job.cfg and its templates. @return the text of the configuration
  std::string write(uint32_t seed) {
    random_.seed(seed);
    // A third of the jobs is sound, a third has one or two oddities, a third is full of them.
    const uint32_t kind = below(3);
    oddity_ = kind == 0 ? 0 : (kind == 1 ? 60 : 8);
    lines_.clear();
    addGlobal();
    addOdax();
    addHXRaster();
    const uint32_t pages = 1 + below(3);
    for (uint32_t page = 0; page < pages; ++page) addPage(page == 0);
    if (isOdd()) mutate();
    writeTemplates();
    writeDamagedImage();
    const std::string end = isOdd() ? "\r\n" : (isOdd() ? "\r" : "\n");
    std::string text = isOdd() ? "\xEF\xBB\xBF" : "";
    for (const std::string& line : lines_) text += line + end;
    folder_.write("job.cfg", text);
    return text;
  }

 private:
  struct Format {
    int colorSpace;
    int planes;
    std::vector<std::string> inks;
  };
  using Texts = std::vector<std::string>;

  uint32_t below(uint32_t end) { return static_cast<uint32_t>(random_() % end); }
  bool oneIn(uint32_t n) { return below(n) == 0; }
  bool isOdd() { return oddity_ != 0 && oneIn(oddity_); }
  template <class T>
  const T& any(const std::vector<T>& list) {
    return list[below(static_cast<uint32_t>(list.size()))];
  }
  void add(const std::string& line) { lines_.push_back(line); }

  // Images ----------------------------------------------------------------------------------------

  static Bytes page(std::vector<uint32_t> bits, uint32_t width, uint32_t height,
                    uint32_t compression, uint32_t photometric, uint16_t offsetType = kTiffLong,
                    uint32_t rowsPerStrip = 1000) {
    TiffPage page;
    page.width = width;
    page.height = height;
    page.bits = bits;
    page.photometric = photometric;
    page.compression = compression;
    page.rowsPerStrip = rowsPerStrip;
    page.offsetType = offsetType;
    uint32_t perPixel = 0;
    for (const uint32_t one : bits) perPixel += one;
    std::vector<Bytes> rows;
    for (uint32_t y = 0; y < height; ++y) {
      Bytes row((size_t{width} * perPixel + 7) / 8);
      for (size_t x = 0; x < row.size(); ++x) row[x] = static_cast<uint8_t>(x * 37 + y * 11);
      rows.push_back(row);
    }
    page.strips =
        stripsOf(rows, rowsPerStrip, compression == kPackBits ? kPackBits : kUncompressed);
    if (page.strips.empty()) page.strips.emplace_back();
    return tiffFile(page);
  }

  void writeImages() {
    for (const uint32_t bits : {1U, 8U, 16U}) {
      for (const size_t samples : {size_t{1}, size_t{3}, size_t{4}}) {
        const std::string stem = "s" + std::to_string(samples) + "b" + std::to_string(bits);
        const std::vector<uint32_t> all(samples, bits);
        const uint32_t colours = samples == 1 ? 0 : (samples == 3 ? 2 : 5);
        folder_.write(stem + ".tif", page(all, 13, 9, kUncompressed, colours));
        folder_.write(stem + "p.TIFF", page(all, 13, 9, kPackBits, colours));
        folder_.write(stem + "lzw.tif", page(all, 13, 9, 5, colours));
        folder_.write(stem + "none.tif", page(all, 13, 9, 0, colours));
        folder_.write(stem + "inv.tif", page(all, 13, 9, kUncompressed, 1));
        folder_.write(stem + "wide.tif", page(all, 40, 6, kUncompressed, colours));
        folder_.write(stem + "low.tif", page(all, 13, 0, 5, colours));
        folder_.write(stem + "thin.tif", page(all, 0, 4, 5, colours));
        folder_.write(stem + "short.tif", page(all, 13, 9, kUncompressed, colours, kTiffShort, 4));
        const Bytes whole = page(all, 13, 9, kUncompressed, colours);
        folder_.write(stem + "cut.tif", Bytes(whole.begin(), whole.end() - 50));
      }
    }
    folder_.write("bits.tif", page({4}, 13, 9, kUncompressed, 0));
    folder_.write("five.tif", page({8, 8, 8, 8, 8}, 13, 9, kUncompressed, 5));
    folder_.write("empty.tif", "");
    folder_.write("text.tif", "this is no TIFF file");
    folder_.write("big.tif", std::string("II\x2B\0\x08\0\0\0", 8));
    folder_.write("picture.bmp", "BM");
    folder_.write("noname", "II");
    folder_.write("table.bin", "0123456789");
    folder_.write("table0.bin", "");
    folder_.write("data.bin", std::string(300, 'x'));
    folder_.write("data0.bin", "");
    std::filesystem::create_directory(folder_.path("folder.tif"));
    TiffWriter two('M');
    TiffPage first;
    first.order = 'M';
    first.width = first.height = 4;
    first.strips = {Bytes(16, 7)};
    ::addPage(two, first);
    first.compression = 5;
    ::addPage(two, first);
    folder_.write("two.tif", two.bytes());
  }

  // Another one for each job.
  void writeDamagedImage() {
    Bytes file = page(std::vector<uint32_t>(any(std::vector<size_t>{1, 3, 4}), oneIn(4) ? 16 : 8),
                      13, 9, any(std::vector<uint32_t>{1, 1, 5, kPackBits}), 0,
                      oneIn(5) ? kTiffShort : kTiffLong, 1 + below(9));
    for (uint32_t i = 0; i < 1 + below(3); ++i) {
      const auto at = file.size() - 1 - below(126);  // the directory stands at the end
      file[at] = static_cast<uint8_t>(oneIn(2) ? below(8) : below(256));
    }
    // Rows that go on for minutes are nobody's page; those that go on for hours are refused.
    const jobcheck::TiffFacts facts = jobcheck::readTiffFacts(folder_.write("damaged.tif", file));
    if (facts.height > 5000 && !facts.isBeyondFile) folder_.write("damaged.tif", "");
  }

  std::string imageFor(int depth, size_t samples) {
    if (isOdd()) {
      return any(Texts{"damaged.tif",
                       "damaged.tif",
                       "damaged.tif",
                       "empty.tif",
                       "text.tif",
                       "big.tif",
                       "picture.bmp",
                       "noname",
                       "folder.tif",
                       "two.tif",
                       "bits.tif",
                       "five.tif",
                       "missing.tif",
                       "s1b8.tif",
                       "s4b8.tif",
                       "s3b8.tif",
                       "s3b16.tif",
                       "s1b1.tif",
                       "C:\\x.tif",
                       "sub\\s1b8.tif",
                       "./s1b8.tif",
                       std::string(300, 'a') + ".tif",
                       std::string(250, 'b') + ".tif"});
    }
    unsigned bits = depth == 10 || depth == 12 || depth == 16 ? 16 : 8;
    if (samples == 1 && depth == 1 && oneIn(2)) bits = 1;
    const std::string stem = "s" + std::to_string(samples) + "b" + std::to_string(bits);
    if (isOdd()) {
      return stem + any(Texts{"lzw", "none", "inv", "wide", "low", "thin", "short", "cut"}) +
             ".tif";
    }
    return stem + (oneIn(3) ? "p.TIFF" : ".tif");
  }

  // Sections --------------------------------------------------------------------------------------

  std::string number(const std::string& usual) {
    if (!isOdd()) return usual;
    return any(Texts{"0", "-1", "0x", "0xFFFFFFFF", "4294967295", "4294967297", "x", "007", "0x1F",
                     "\"8\"", "2147483648", "hxraster_id_val_compression_none", "127", "128", ""});
  }

  void addGlobal() {
    if (!isOdd()) add("[Global]");
    if (!isOdd()) {
      add("OutFilePath = \"" +
          (isOdd() ? any(Texts{"nowhere/out.dat", "folder.tif", "", "job.cfg", "C:\\out", "a:b",
                               std::string(254, 'o'), std::string(300, 'o')})
                   : std::string("out.dat")) +
          "\"");
    }
    const std::string split = any(Texts{"0", "0", "10", "40", "200", "65536"});
    if (!isOdd()) add("SplitDataSize = " + number(split));
    if (oneIn(3) || isOdd()) addTables();
    if (oneIn(12) || isOdd()) {
      add("SendDataFile = \"" +
          (isOdd() ? any(Texts{"data0.bin", "missing.bin", "", "folder.tif"})
                   : std::string("data.bin")) +
          "\"");
    }
  }

  void addTables() {
    for (uint32_t i = 0; i < 1 + below(2) + (isOdd() ? 6 : 0); ++i) {
      add("ImageProcessingFile = \"" +
          (isOdd() ? any(Texts{"table0.bin", "missing.bin", "", "folder.tif", "C:\\t"})
                   : std::string("table.bin")) +
          "\"");
    }
  }

  void addOdax() {
    add(isOdd() ? any(Texts{"[ODAX] # templates", "[odax]", "[Global]"}) : std::string("[ODAX]"));
    for (const char* name : {"StartJob", "SetJobConfiguration", "SetConfiguration", "VendorCmd",
                             "SendData", "EndJob"}) {
      if (isOdd()) continue;
      if (std::string(name) == "VendorCmd" && oneIn(2)) continue;
      const std::string file =
          isOdd() ? any(Texts{"missing.xml", "", "folder.tif", "a\\b.xml", std::string(250, 't')})
                  : std::string(name) + ".xml";
      add(std::string(name) + "XmlFile = \"" + file + "\"");
    }
    const uint32_t overrides = (oneIn(2) ? 0 : below(3)) + (isOdd() ? 130 : 0);
    for (uint32_t i = 0; i < overrides; ++i) {
      const Texts keys = {"Copies", "Name", "Quality", "datasize", "continue", "Setting", "Other"};
      std::string value = any(Texts{"3", "\"x y\"", "ODAXGEN_SUPPRESSION"});
      if (isOdd()) {
        value = any(Texts{"\"a\"b\"", "\"\"", "\"open", std::string(900, 'v'),
                          std::string(1015, 'v'), "<a>", "x # y"});
      }
      const std::string key =
          isOdd() ? any(Texts{std::string(252, 'k'), "", "SplitDataSize", "[Global]"}) : any(keys);
      add(key + " = " + value);
    }
  }

  void addHXRaster() {
    if (!isOdd()) add("[HXRaster]");
    if (!isOdd()) add("GraphicsResolutionH = " + number("600"));
    if (!isOdd()) add("GraphicsResolutionV = " + number(oneIn(2) ? "600" : "1200"));
    if (oneIn(2)) add("PrintableWidthInPixel = " + number(any(Texts{"13", "13", "13", "40", "8"})));
  }

  void addPage(bool isFirst) {
    add(isOdd() ? any(Texts{"[Image] ", "[image]", "[Image]# page", "[Page]", "/* page */"})
                : std::string("[Image]"));
    if (isOdd()) return;
    static const std::vector<Format> kFormats = {
        {2, 1, {"K"}},
        {2, 3, {"R", "G", "B"}},
        {3, 4, {"K", "C", "M", "Y"}},
        {3, 6, {"K", "C", "M", "Y", "c", "m"}},
        {4, 1, {"K"}},
        {5, 4, {"K", "C", "M", "Y"}},
        {5, 5, {"PBK", "MBK", "C", "M", "Y"}},
        {4, 8, {"PBK", "MBK", "C", "M", "Y", "c", "m", "Gy"}},
        {5, 13, {"PBK", "MBK", "C", "M", "Y", "c", "m", "Gy", "Pgy", "R", "B", "CO", "CO2"}},
        {18, 1, {"R", "G", "B"}},
        {19, 1, {"K"}}};
    const Format& format = any(kFormats);
    if (isFirst || oneIn(2) || isOdd()) {
      if (!isOdd()) add("ColorSpace = " + number(std::to_string(format.colorSpace)));
      if (!isOdd()) add("NumOfPlanes = " + number(std::to_string(format.planes)));
      if (!isOdd()) add("CompressionMode = " + number(any(Texts{"0", "2", "3", "4", "256"})));
      addInks(format, true);
    } else {
      addInks(format, false);
    }
    addPositions();
  }

  void addInks(const Format& format, bool hasDepths) {
    const bool isRgb = format.inks.front() == "R" && !oneIn(10);
    const bool isCmyk = format.inks.size() == 4 && oneIn(2);
    const std::string depth =
        isRgb ? any(Texts{"8", "8", "10", "12", "16"}) : any(Texts{"1", "2", "4", "8", "10", "12"});
    const int bits = std::stoi(depth);
    if (isRgb) add("ImageFileRGB = \"" + imageFor(bits, 3) + "\"");
    if (isCmyk) add("ImageFileCMYK = \"" + imageFor(bits, 4) + "\"");
    for (const std::string& ink : format.inks) {
      if ((!isRgb && !isCmyk) || isOdd())
        add("ImageFile" + ink + " = \"" + imageFor(bits, 1) + "\"");
      if (hasDepths && !isOdd()) add("PixelDepth" + ink + " = " + number(depth));
      if (hasDepths && oneIn(6)) {
        add("IndexLevel" + ink + " = " +
            (isOdd() ? any(Texts{"7", "2x", "\"2\"", "-2", "+2"}) : any(Texts{"0", "2", "4"})));
      }
    }
  }

  void addPositions() {
    for (const char* key : {"YOffsetC", "StartingPositionX", "StartingPositionY", "YOffset"}) {
      if (!oneIn(4)) continue;
      std::string value = any(Texts{"0", "12", "+7"});
      if (isOdd()) value = any(Texts{"-1", "+0", "-0", "+", "-", "--1", "1.5", "4294967295", "-9"});
      add(std::string(key) + " = " + value);
      if (isOdd()) add(std::string(key) + " = " + value);
    }
  }

  // Damage ----------------------------------------------------------------------------------------

  void mutate() {
    for (uint32_t i = 0; i < 1 + below(3) && !lines_.empty(); ++i) {
      const uint32_t at = below(static_cast<uint32_t>(lines_.size()));
      const auto place = lines_.begin() + at;
      switch (below(7)) {
        case 0:
          lines_.erase(place);
          break;
        case 1:
          lines_.insert(place, std::string(lines_[at]));
          break;
        case 2:
          std::swap(lines_[at], lines_[below(static_cast<uint32_t>(lines_.size()))]);
          break;
        case 3:
          lines_.insert(
              place, any(Texts{"", " ", "/*", "*/", "# note", "key", "= value", "Key=", "[Global]",
                               "[ODAX]", "[HXRaster]", "[Image]", "[Image]=5", "=", "[",
                               std::string(1100, 'x'), std::string("Key=a\0b", 7), "// note",
                               "OutFilePath=\"" + std::string(1100, 'y') + "\""}));
          break;
        case 4:
          if (!lines_[at].empty())
            lines_[at].erase(below(static_cast<uint32_t>(lines_[at].size())), 1);
          break;
        case 5:
          lines_[at].insert(below(static_cast<uint32_t>(lines_[at].size() + 1)),
                            any(Texts{"#", "\"", "=", " ", "x", "\\", ":"}));
          break;
        default:
          lines_[at] += any(Texts{" ", " # note", "\t", "x", "\""});
          break;
      }
    }
  }

  void writeTemplates() {
    for (const char* name : {"StartJob", "SetJobConfiguration", "SetConfiguration", "VendorCmd"})
      folder_.write(std::string(name) + ".xml", templateText(name, false, false));
    folder_.write("SendData.xml", templateText("SendData", true, true));
    folder_.write("EndJob.xml", templateText("EndJob", true, false));
  }

  std::string templateText(const std::string& name, bool hasSize, bool hasContinue) {
    Texts lines = {"<j:" + name + ">"};
    if (oneIn(2)) lines.emplace_back("<j:Copies>1</j:Copies>");
    if (oneIn(2)) lines.emplace_back("<j:Setting name=\"Quality\">draft</j:Setting>");
    if (oneIn(3)) lines.emplace_back("<j:Name></j:Name>");
    if (hasSize && !isOdd()) lines.emplace_back("<j:datasize>0</j:datasize>");
    if (hasContinue && !isOdd()) lines.emplace_back("<j:continue>OFF</j:continue>");
    if (isOdd()) {
      lines.push_back(any(Texts{"<datasize>", "datasize", ">datasize>", "<continue/>", "continue",
                                "<datasize></datasize>", "<a name=\"Copies\">", "</j:Copies>",
                                "<j:Name>" + std::string(200, 'n') + "</j:Name>",
                                "<j:Name>" + std::string(990, 'n') + "</j:Name>",
                                "<j:Name>" + std::string(2000, 'n') + "</j:Name>",
                                "<datasize>0</datasize><continue>OFF</continue>",
                                "<!-- datasize -->", "ODAXGEN_SUPPRESSION", ">>>", "",
                                std::string("a\0<j:Copies>1</j:Copies>", 24)}));
    }
    lines.push_back("</j:" + name + ">");
    const std::string end = oneIn(4) ? "\r\n" : "\n";
    std::string text = isOdd() ? "\xEF\xBB\xBF" : "";
    for (const std::string& line : lines) text += line + end;
    return isOdd() ? std::string() : text;
  }

  const TempFolder& folder_;
  std::mt19937 random_;
  uint32_t oddity_ = 0;  // one thing in so many is odd; 0: none is
  std::vector<std::string> lines_;
};
