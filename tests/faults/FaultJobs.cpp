#include "FaultJobs.h"

#include <cstdint>
#include <string_view>

#include "TiffWriter.h"

namespace {

// An image with rows that differ, so that every coder has something to do.
Bytes image(uint32_t width, uint32_t height, const std::vector<uint32_t>& bits) {
  TiffPage page;
  page.width = width;
  page.height = height;
  page.bits = bits;
  page.photometric = bits.size() == 1 ? 1 : (bits.size() == 3 ? 2 : 5);
  const size_t rowBytes = (size_t{width} * bits.size() * bits[0] + 7) / 8;
  Bytes data(rowBytes * height);
  for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<uint8_t>(i * 37 + i / 50);
  page.strips = {data};
  return tiffFile(page);
}

// Three strips, so that their offsets stand in a table that is read and kept.
Bytes imageInStrips() {
  TiffPage page;
  page.width = 20;
  page.height = 6;
  page.rowsPerStrip = 2;
  page.strips = {Bytes(40, 0x10), Bytes(40, 0x55), Bytes(40, 0xC3)};
  return tiffFile(page);
}

constexpr const char* kTemplates =
    "[ODAX]\nStartJobXmlFile=\"@/StartJob.xml\"\n"
    "SetJobConfigurationXmlFile=\"@/SetJobConfiguration.xml\"\n"
    "SetConfigurationXmlFile=\"@/SetConfiguration.xml\"\n"
    "VendorCmdXmlFile=\"@/VendorCmd.xml\"\n"
    "SendDataXmlFile=\"@/SendData.xml\"\nEndJobXmlFile=\"@/EndJob.xml\"\n"
    "Name=job\nCopies=2\n";
constexpr const char* kRaster =
    "[HXRaster]\nGraphicsResolutionH=300\nGraphicsResolutionV=300\nPrintableWidthInPixel=64\n";

struct Group {
  int number;
  const char* page;  // without CompressionMode
  std::vector<int> compressions;
};
const Group kGroups[] = {
    {1,
     "[Image]\nColorSpace=5\nNumOfPlanes=1\nPixelDepthK=2\nImageFileK=\"8.tif\"\n",
     {0, 2, 3, 4, 256}},
    {2,
     "[Image]\nColorSpace=2\nNumOfPlanes=1\nPixelDepthK=8\nImageFileK=\"8.tif\"\n",
     {0, 2, 3, 256}},
    {3,
     "[Image]\nColorSpace=2\nNumOfPlanes=3\nPixelDepthR=8\nPixelDepthG=8\nPixelDepthB=8\n"
     "ImageFileRGB=\"rgb.tif\"\n",
     {0, 2, 3, 4, 256}},
    {4,
     "[Image]\nColorSpace=3\nNumOfPlanes=4\nPixelDepthK=2\nPixelDepthC=1\nPixelDepthM=4\n"
     "PixelDepthY=8\nImageFileK=\"8.tif\"\nImageFileC=\"strips.tif\"\n",
     {0, 2, 3, 4, 256}},
    {5,
     "[Image]\nColorSpace=3\nNumOfPlanes=6\nPixelDepthK=2\nPixelDepthC=2\nPixelDepthM=2\n"
     "PixelDepthY=2\nPixelDepthc=2\nPixelDepthm=2\nImageFileK=\"8.tif\"\nImageFilec=\"8.tif\"\n",
     {0, 2, 3, 256}},
};

std::string global(const std::string& split, const std::string& more = "") {
  return "[Global]\nOutFilePath=\"job.odx\"\nSplitDataSize=" + split + "\n" + more;
}

std::string withCompression(const char* page, int compression) {
  return std::string(page) + "CompressionMode=" + std::to_string(compression) + "\n";
}

// What the pages of a job can be made of, beside the modes.
struct Kind {
  const char* name;
  const char* global;
  const char* pages;
};
constexpr Kind kKinds[] = {
    {"composite CMYK", "",
     "[Image]\nColorSpace=3\nNumOfPlanes=4\nCompressionMode=2\nPixelDepthK=2\nPixelDepthC=2\n"
     "PixelDepthM=2\nPixelDepthY=2\nImageFileCMYK=\"cmyk.tif\"\n"},
    {"deep composite CMYK", "",
     "[Image]\nColorSpace=3\nNumOfPlanes=4\nCompressionMode=3\nPixelDepthK=10\nPixelDepthC=10\n"
     "PixelDepthM=10\nPixelDepthY=10\nImageFileCMYK=\"cmyk64.tif\"\n"},
    {"deep RGB", "",
     "[Image]\nColorSpace=2\nNumOfPlanes=3\nCompressionMode=4\nPixelDepthR=10\nPixelDepthG=10\n"
     "PixelDepthB=10\nImageFileRGB=\"rgb48.tif\"\n"},
    {"two tables and three pages",
     "ImageProcessingFile=\"table.bin\"\nImageProcessingFile=\"empty.bin\"\n",
     "[Image]\nColorSpace=3\nNumOfPlanes=4\nCompressionMode=256\nPixelDepthK=2\nPixelDepthC=2\n"
     "PixelDepthM=2\nPixelDepthY=2\nImageFileK=\"8.tif\"\nImageFileY=\"strips.tif\"\n"
     "StartingPositionX=+20\nStartingPositionY=30\n"
     "[Image]\nImageFileC=\"strips.tif\"\nYOffset=5\n"
     "[Image]\nColorSpace=5\nNumOfPlanes=1\nCompressionMode=4\nPixelDepthK=2\nIndexLevelK=3\n"
     "ImageFileK=\"8.tif\"\n"},
};

}  // namespace

std::vector<FaultJob> jobOfEachMode(const std::string& split) {
  std::vector<FaultJob> jobs;
  for (const Group& group : kGroups) {
    for (const int compression : group.compressions) {
      const int mode = 1000 * group.number + compression;
      jobs.push_back(
          {"mode " + std::to_string(mode) + ", split " + split,
           global(split) + kTemplates + kRaster + withCompression(group.page, compression), mode});
    }
  }
  return jobs;
}

std::vector<FaultJob> jobsOfEachKind() {
  std::vector<FaultJob> jobs;
  for (const char* split : {"0", "100"}) {
    const std::string how = std::string(", split ") + split;
    for (const Kind& kind : kKinds) {
      jobs.push_back(
          {kind.name + how, global(split, kind.global) + kTemplates + kRaster + kind.pages, 0});
    }
    jobs.push_back(
        {"ready-made data" + how, global(split, "SendDataFile=\"@/data.bin\"\n") + kTemplates, 0});
  }
  return jobs;
}

void writeFilesOfFaultJobs(const TempFolder& folder) {
  folder.write("8.tif", image(20, 5, {8}));
  folder.write("strips.tif", imageInStrips());
  folder.write("rgb.tif", image(20, 5, {8, 8, 8}));
  folder.write("rgb48.tif", image(20, 5, {16, 16, 16}));
  folder.write("cmyk.tif", image(20, 5, {8, 8, 8, 8}));
  folder.write("cmyk64.tif", image(20, 5, {16, 16, 16, 16}));
  folder.write("table.bin", std::string_view("TABLE"));
  folder.write("empty.bin", std::string_view());
  folder.write("data.bin", std::string(1500, 'd'));
  folder.write("StartJob.xml", std::string_view("<SJ>\n<j:Name>none</j:Name>\n</SJ>\n"));
  folder.write("SetJobConfiguration.xml",
               std::string_view("<SJC>\n<j:Copies>1</j:Copies>\n</SJC>\n"));
  folder.write("SetConfiguration.xml", std::string_view("<SC/>\n"));
  folder.write("VendorCmd.xml", std::string_view("<VC/>\n"));
  folder.write(
      "SendData.xml",
      std::string_view("<SD>\n<d:datasize>0</d:datasize>\n<d:continue>-</d:continue>\n</SD>\n"));
  folder.write("EndJob.xml", std::string_view("<EJ>\n<d:datasize>0</d:datasize>\n</EJ>\n"));
}
