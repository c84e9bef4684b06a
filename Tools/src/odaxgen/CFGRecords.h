// CFGRecords - the records that carry a configuration to the rest of the job: one `parameter` per
// job, one `imageParameter` per [Image] section, one `CFGFileItem` per line while it is read.
#pragma once

#include <array>
#include <cstdint>

#include "CLibrary.h"
#include "Limits.h"

constexpr int32_t kNotSet = -1;  // every integer setting that no key has set
using PathText = char[kPathBytes];

/// One ImageProcessingFile item.
struct imageProcessingFile {
  PathText path;
  imageProcessingFile* next;
};

/// One [Image] section: a page.
struct imageParameter {
  int32_t Mode;
  int32_t StartingPositionX, StartingPositionY;
  int32_t StartingPositionXSign, StartingPositionYSign;  // -1 "-", +1 "+", 0 none
  int32_t YOffset, YOffsetSign;
  int32_t YOffsetCBeforePosition, YOffsetCAfterPosition;
  int32_t YOffsetCBeforePositionSign, YOffsetCAfterPositionSign;
  PathText ImageFileCMYK, ImageFileK, ImageFileC, ImageFileM, ImageFileY, ImageFilec, ImageFilem,
      ImageFileRGB, ImageFileGy, ImageFilePgy, ImageFileR, ImageFileG, ImageFileB, ImageFilePBK,
      ImageFileMBK, ImageFileCO, ImageFileCO2;
  int32_t ColorSpace;
  int32_t CompressionMode;
  int32_t NumOfPlanes;
  int32_t PixelDepthK, PixelDepthC, PixelDepthM, PixelDepthY, PixelDepthc, PixelDepthm, PixelDepthR,
      PixelDepthG, PixelDepthB, PixelDepthGy, PixelDepthPgy, PixelDepthPBK, PixelDepthMBK,
      PixelDepthCO, PixelDepthCO2;
  // 256 levels each; null: none. There is no IndexLevelG, on purpose.
  const uint8_t *IndexLevelK, *IndexLevelC, *IndexLevelM, *IndexLevelY, *IndexLevelc, *IndexLevelm,
      *IndexLevelR, *IndexLevelB, *IndexLevelGy, *IndexLevelPgy, *IndexLevelPBK, *IndexLevelMBK,
      *IndexLevelCO, *IndexLevelCO2;
  int32_t reserved[2];       // no key sets them
  int32_t SameAsFirstImage;  // 1: the format settings equal those of the first section
  imageParameter* next;
};

/// One job. Allocated by the driver, released by disposeParameter().
struct parameter {
  PathText CFGFileDirectory;  // set by the driver: what relative paths are completed with
  imageParameter* imageParameterList;
  PathText OutFilePath;
  imageProcessingFile* imageProcessingFileList;
  int32_t SplitDataSize;
  PathText SendDataFile;
  PathText StartJobXmlFile, SetJobConfigurationXmlFile, SetConfigurationXmlFile, VendorCmdXmlFile,
      SendDataXmlFile, EndJobXmlFile;
  int32_t GraphicsResolutionH, GraphicsResolutionV;  // dots per inch
  int32_t PrintableWidthInPixel;
  // The lists' ends, so that appending stays cheap over thousands of pages.
  imageParameter* lastImageParameter;
  imageProcessingFile* lastImageProcessingFile;
};

/// One accepted line of the configuration: an item or a section header.
struct CFGFileItem {
  int lineNumber = 0;  // from 1
  CText line;          // as read
  CText key;
  CText value;
  int32_t integer = 0;    // what an integer parser stored last
  bool isHeader = false;  // a section header; "[Global]=5" is an item
  CFGFileItem* next = nullptr;
};

using ImagePath = PathText imageParameter::*;
using ImageInteger = int32_t imageParameter::*;
using ImageTable = const uint8_t* imageParameter::*;

/// The keys and fields of one ink.
struct InkKeys {
  const char* fileKey;
  ImagePath file;
  const char* depthKey;
  ImageInteger depth;
  const char* levelKey;  // null: the ink has no index level
  ImageTable level;
};

/// Positions in kInks.
enum Ink : size_t {
  kInkK,
  kInkC,
  kInkM,
  kInkY,
  kInkc,
  kInkm,
  kInkR,
  kInkG,
  kInkB,
  kInkGy,
  kInkPgy,
  kInkPBK,
  kInkMBK,
  kInkCO,
  kInkCO2,
};
constexpr size_t kInkCount = 15;

/// All inks, in the order of the depth fields.
inline constexpr std::array<InkKeys, kInkCount> kInks = {{
    {"ImageFileK", &imageParameter::ImageFileK, "PixelDepthK", &imageParameter::PixelDepthK,
     "IndexLevelK", &imageParameter::IndexLevelK},
    {"ImageFileC", &imageParameter::ImageFileC, "PixelDepthC", &imageParameter::PixelDepthC,
     "IndexLevelC", &imageParameter::IndexLevelC},
    {"ImageFileM", &imageParameter::ImageFileM, "PixelDepthM", &imageParameter::PixelDepthM,
     "IndexLevelM", &imageParameter::IndexLevelM},
    {"ImageFileY", &imageParameter::ImageFileY, "PixelDepthY", &imageParameter::PixelDepthY,
     "IndexLevelY", &imageParameter::IndexLevelY},
    {"ImageFilec", &imageParameter::ImageFilec, "PixelDepthc", &imageParameter::PixelDepthc,
     "IndexLevelc", &imageParameter::IndexLevelc},
    {"ImageFilem", &imageParameter::ImageFilem, "PixelDepthm", &imageParameter::PixelDepthm,
     "IndexLevelm", &imageParameter::IndexLevelm},
    {"ImageFileR", &imageParameter::ImageFileR, "PixelDepthR", &imageParameter::PixelDepthR,
     "IndexLevelR", &imageParameter::IndexLevelR},
    {"ImageFileG", &imageParameter::ImageFileG, "PixelDepthG", &imageParameter::PixelDepthG,
     nullptr, nullptr},
    {"ImageFileB", &imageParameter::ImageFileB, "PixelDepthB", &imageParameter::PixelDepthB,
     "IndexLevelB", &imageParameter::IndexLevelB},
    {"ImageFileGy", &imageParameter::ImageFileGy, "PixelDepthGy", &imageParameter::PixelDepthGy,
     "IndexLevelGy", &imageParameter::IndexLevelGy},
    {"ImageFilePgy", &imageParameter::ImageFilePgy, "PixelDepthPgy", &imageParameter::PixelDepthPgy,
     "IndexLevelPgy", &imageParameter::IndexLevelPgy},
    {"ImageFilePBK", &imageParameter::ImageFilePBK, "PixelDepthPBK", &imageParameter::PixelDepthPBK,
     "IndexLevelPBK", &imageParameter::IndexLevelPBK},
    {"ImageFileMBK", &imageParameter::ImageFileMBK, "PixelDepthMBK", &imageParameter::PixelDepthMBK,
     "IndexLevelMBK", &imageParameter::IndexLevelMBK},
    {"ImageFileCO", &imageParameter::ImageFileCO, "PixelDepthCO", &imageParameter::PixelDepthCO,
     "IndexLevelCO", &imageParameter::IndexLevelCO},
    {"ImageFileCO2", &imageParameter::ImageFileCO2, "PixelDepthCO2", &imageParameter::PixelDepthCO2,
     "IndexLevelCO2", &imageParameter::IndexLevelCO2},
}};

/// The 17 image files in the order of their fields: composites and planes mixed.
inline constexpr std::array<ImagePath, 17> kImageFiles = {
    &imageParameter::ImageFileCMYK, &imageParameter::ImageFileK,   &imageParameter::ImageFileC,
    &imageParameter::ImageFileM,    &imageParameter::ImageFileY,   &imageParameter::ImageFilec,
    &imageParameter::ImageFilem,    &imageParameter::ImageFileRGB, &imageParameter::ImageFileGy,
    &imageParameter::ImageFilePgy,  &imageParameter::ImageFileR,   &imageParameter::ImageFileG,
    &imageParameter::ImageFileB,    &imageParameter::ImageFilePBK, &imageParameter::ImageFileMBK,
    &imageParameter::ImageFileCO,   &imageParameter::ImageFileCO2};
