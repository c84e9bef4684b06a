#include "ErrorAdvice.h"

#include <array>
#include <cstddef>

namespace command {

namespace {

// Texts that several codes share.
constexpr const char* kWhyMemory =
    "The system refused memory to the job: other programs have taken it, or a limit is set for "
    "this process.";
constexpr const char* kFreeMemory =
    "Close other programs or run the job where there is more memory. Nothing is wrong with the "
    "job.";

constexpr const char* kUnused = "not used: no job ends with this code";
constexpr const char* kWhyUnused =
    "The number lies between others that are used, but stands for nothing.";
constexpr const char* kUnusedToDo =
    "Look for another source of the number: it does not come from a job.";

constexpr const char* kWhyTwice =
    "A key may stand once in its section. A copied line that was not changed is the usual reason. "
    "Two [Global], [ODAX] or [HXRaster] sections count as one; each [Image] is a section of its "
    "own.";
constexpr const char* kRemoveOne = "Remove one of the two lines. The message shows the second.";

constexpr const char* kWhyCoder =
    "The code of a row has come out longer than any row can make it. The check guards the coder "
    "against itself; no picture is known that leads here.";
constexpr const char* kReportCoder =
    "Tell the makers of odaxgen, with the job: the fault is not in it. Another CompressionMode, 2 "
    "for example, goes round the coder.";

constexpr const char* kWhyTemplate =
    "The template does not exist or may not be read, its key is missing from [ODAX], or its "
    "completed path has more than 259 characters. If the message shows an empty path, look for a "
    "misspelt key: it is taken for an override. Backslashes in template paths are not converted. "
    "For the command a relative path starts at the folder of the configuration; for a program that "
    "calls the library it starts at the folder of that program.";

constexpr const char* kWhyPlaceholder =
    "The word was found in a line that has no element with a value: in a comment, in a tag that "
    "stands alone on its line, or in an element that is spread over several lines.";

constexpr std::array<ErrorAdvice, kFirstErrorCode - kLastErrorCode + 1> kAdvice = {{
    // The configuration.
    {-3, "the configuration cannot be opened",
     "There is no file of this name, it may not be read, or a folder on the way does not exist. "
     "The command starts relative paths at the current folder.",
     "Check the path that the message shows, and the permissions of the file."},
    {-4, "a line of the configuration is no setting",
     "The line has no \"=\", or nothing behind it. Often it is a section header that is misspelt "
     "or not alone on its line: \"[Global] # note\" is no header. A line of nothing but blanks "
     "counts as well; an empty line does not. In [ODAX], an override that begins with a quote and "
     "is no quoted string ends here, and so does the 129th override. A file saved as UTF-16 fails "
     "at its first line.",
     "Write the line as KEY = VALUE, or put a \"#\" in front of it. Keep section headers alone on "
     "their line, and use at most 128 overrides."},
    {-5, "[Image] comes before [HXRaster]",
     "The sections are out of order, or [HXRaster] is missing. An [Image] that directly follows "
     "[Global] or [ODAX] fails too, even when there is an [HXRaster] further up.",
     "Put the sections in this order: [Global], [ODAX], [HXRaster], [Image]."},
    {-6, "no memory for an item of the configuration", kWhyMemory, kFreeMemory},
    {-7, "no memory for an override", kWhyMemory, kFreeMemory},
    {-8, "a comment is not closed at the end of the configuration",
     "A line that begins with \"/*\" opens a comment, and only a later line that begins with "
     "\"*/\" closes it. A \"*/\" further right in a line, or on the line of the \"/*\" itself, "
     "closes nothing.",
     "Put a \"*/\" at the beginning of a line behind the comment, or begin each line with \"#\" "
     "instead."},
    {-9, "there is no [HXRaster] section and no SendDataFile",
     "The section is missing or stands in a comment. A folder or an empty file that is given as "
     "the configuration ends here too.",
     "Add the section [HXRaster] with GraphicsResolutionH and GraphicsResolutionV, or name "
     "ready-made data with SendDataFile in [Global]."},
    {-10, "there is no [Image] section and no SendDataFile",
     "The configuration has no page, or its pages stand in a comment.",
     "Add an [Image] section for each page, or name ready-made data with SendDataFile in "
     "[Global]."},
    {-11, "a comment begins inside a comment",
     "A line that begins with \"/*\" follows another one, and no line that begins with \"*/\" "
     "stands between them. Comments do not nest; \"/* note */\" on one line opens a comment and "
     "does not close it.",
     "Close the first comment with a line that begins with \"*/\", or use \"#\" instead."},
    {-12, "unknown key in [Global]",
     "The key is misspelt, or belongs to another section whose header is missing or comes further "
     "down. Upper and lower case count.",
     "Correct the key or move the line to its section. [Global] has OutFilePath, SplitDataSize, "
     "ImageProcessingFile and SendDataFile."},
    {-13, "unknown key in [HXRaster]",
     "The key is misspelt, or belongs to another section: the header [Image] may be missing in "
     "front of it. Upper and lower case count.",
     "Correct the key or move the line to its section. [HXRaster] has GraphicsResolutionH, "
     "GraphicsResolutionV and PrintableWidthInPixel."},
    {-14, "unknown key in [Image]",
     "The key is misspelt, or belongs to another section. Upper and lower case count: PixelDepthC "
     "is cyan, PixelDepthc light cyan. There is no IndexLevelG.",
     "Correct the key or move the line to its section."},
    {-15, "StartingPositionX or StartingPositionY is given twice", kWhyTwice, kRemoveOne},
    {-16, "a starting position is no number",
     "The value has something else than digits behind its sign: a unit, a blank, a decimal point, "
     "quotes or a hexadecimal number.",
     "Write digits only, in dots: 300 for a place on the sheet, +300 or -300 to move from the "
     "current one."},
    {-17, "YOffset or YOffsetC is given twice",
     "A key may stand once in its section. Only YOffsetC may stand twice: once in front of both "
     "starting positions and once behind one of them.",
     kRemoveOne},
    {-18, "an offset is no number",
     "The value of YOffset or YOffsetC has a \"-\", a unit, a blank, a decimal point, quotes or a "
     "hexadecimal number. Offsets only go down the page.",
     "Write digits only, in rows: 300, or +300 to move from the current row."},
    {-19, "the number of pixel depths is not NumOfPlanes",
     "ColorSpace 2 to 5 needs as many PixelDepth keys of at least 1 as there are planes; a depth "
     "of 0 does not count. A further [Image] that sets any of ColorSpace, NumOfPlanes, "
     "CompressionMode, a PixelDepth or an IndexLevel inherits nothing from the first one and must "
     "set all that it needs.",
     "Give each plane its PixelDepth key, and no other ink one. In a further [Image] set all of "
     "the format or nothing of it."},
    {-20, "ColorSpace 18 without exactly three pixel depths",
     "Pixels of red, green and blue need PixelDepthR, PixelDepthG and PixelDepthB, although "
     "NumOfPlanes is 1.",
     "Set PixelDepthR, PixelDepthG and PixelDepthB, and no other depth. For RGB pages that are to "
     "be printed use ColorSpace = 2: this one sends no rows."},
    {-21, kUnused, kWhyUnused, kUnusedToDo, false},
    {-22, "ColorSpace 2 with a NumOfPlanes other than 1 or 3",
     "Rows of RGB have three planes, rows of gray have one.",
     "Set NumOfPlanes = 3 for RGB or 1 for gray. For inks use ColorSpace 3, 4 or 5."},
    {-23, "ColorSpace 3 with a NumOfPlanes other than 4 or 6",
     "This format has the inks K, C, M and Y, or these and light cyan and light magenta.",
     "Set NumOfPlanes to 4 or 6. For one ink, or for other sets of inks, use ColorSpace 4 or 5."},
    {-24, "ColorSpace 4 or 5 with a NumOfPlanes that no set of inks has",
     "These formats have sets of 1, 4, 5, 8, 12 or 13 inks.",
     "Set NumOfPlanes to 1, 4, 5, 8, 12 or 13. For six inks use ColorSpace = 3."},
    {-25, "ColorSpace 18 to 21 with a NumOfPlanes other than 1",
     "In these formats the inks of a pixel stand together, in one plane.",
     "Set NumOfPlanes = 1. For one plane per ink use ColorSpace 3, 4 or 5."},
    {-26, "there is no such ColorSpace",
     "The value is none of 2, 3, 4, 5, 18, 19, 20 and 21: often it is the symbol of a compression. "
     "The message shows -1 for a further [Image] that gives part of the format but no ColorSpace; "
     "such a page inherits nothing from the first one.",
     "Set ColorSpace to 2, 3, 4 or 5. In a further [Image] set all of the format or nothing of "
     "it."},
    {-27, "a text or path is given twice", kWhyTwice, kRemoveOne},
    {-28, "a text or path is not in quotes, or too long",
     "The value must begin and end with a double quote, and have at most 259 characters between "
     "them. A \"#\" cuts the line, between quotes too. A path that ends in a backslash has no "
     "closing quote, because \\\" stands for a quote.",
     "Put the value into double quotes: OutFilePath = \"job.odx\". Double the quotes within it; "
     "use no \"#\", and no backslash at its end."},
    {-29, kUnused, kWhyUnused, kUnusedToDo, false},
    {-30, "a number is given twice", kWhyTwice, kRemoveOne},
    {-31, "a value is no number",
     "The value has a sign, quotes, a unit, a blank or a decimal point.",
     "Write decimal digits, or 0x and hexadecimal digits, and nothing else."},
    {-32, "ColorSpace or CompressionMode is given twice", kWhyTwice, kRemoveOne},
    {-33, "the value of ColorSpace or CompressionMode is not known",
     "The value is neither a number nor one of the symbols, or the symbol is misspelt. Upper and "
     "lower case count, and symbols stand without quotes.",
     "Write the number: ColorSpace 2 to 5, CompressionMode 0, 2, 3, 4 or 256. Or correct the "
     "symbol, for example hxraster_id_val_compression_packbits."},
    {-34, "there is no such index level",
     "The number of levels is none of 2, 3, 4, 5, 6 and 16. What is no number at all is "
     "read as 0 and gives no message.",
     "Set it to 2, 3, 4, 5, 6 or 16, or leave the key out."},
    {-35, "a required key has the value for \"not set\"",
     "4294967295, or 0xFFFFFFFF, is read as -1, and that means \"not set\".",
     "Give the key that the message shows its real value."},
    {-36, "a required key is missing",
     "The key that the message names does not stand in its section: it is misspelt, in a comment "
     "or in another section. An image file needs the PixelDepth of its ink in its own [Image]; "
     "only a further [Image] that leaves out the whole format takes it from the first. ColorSpace "
     "is also named for an [Image] without any line. For ImageFilem and ImageFileCO2 a depth of 0 "
     "counts as missing, and the message has a comma behind the key. A section behind the last "
     "[Image] leads here too.",
     "Add the key that the message names to its section, a PixelDepth with at least 1. Let the "
     "[Image] sections be the last ones."},
    {-37, "a path begins with a drive, or is too long",
     "A path like C:\\job\\page.tif has no meaning on this system. A path that exceeds 259 "
     "characters when its colons and backslashes are converted ends here as well.",
     "Write the path without a drive and with slashes, for example \"pages/page.tif\"."},
    {-38, "a path with a drive was to be written with colons; no job does that",
     "The library has such a conversion, but no setting of a job is converted that way.",
     kUnusedToDo},
    {-39, "a table file does not exist",
     "ImageProcessingFile names a file that is not there, or its completed path has more than 259 "
     "characters. A relative path starts at the folder of the configuration; colons and "
     "backslashes in it count as slashes.",
     "Check the path that the message shows. Correct ImageProcessingFile or remove the line."},
    {-40, "an image file does not exist",
     "An ImageFile key names a file that is not there. A relative path starts at the folder of the "
     "configuration; colons and backslashes in it count as slashes. A completed path of more than "
     "259 characters ends here too, also that of OutFilePath.",
     "Check the path that the message shows: spelling, upper and lower case, folder."},

    // The images.
    {-41, "the image of an ink has a compression that is not read",
     "TIFF files are read uncompressed or with PackBits; LZW, Deflate, JPEG and the fax "
     "compressions are not. The same fault of an ImageFileCMYK has no code: the job then ends with "
     "the text Internal Exception. If the message speaks of memory instead, the system refused it "
     "for a row of an ImageFileCMYK.",
     "Save the image uncompressed or with PackBits: \"tiffcp -c packbits page.tif new.tif\" does "
     "it. If the message speaks of memory, close other programs."},
    {-42, "ImageFileRGB has a compression that is not read",
     "TIFF files are read uncompressed or with PackBits; LZW, Deflate and JPEG are not.",
     "Save the image uncompressed or with PackBits: \"tiffcp -c packbits page.tif new.tif\" does "
     "it."},

    // The job.
    {-43, "the path of the configuration is too long",
     "Completed, the path has more than 259 characters. A program that calls the library without "
     "a path ends here too.",
     "Move the job to a folder with a shorter path."},
    {-44, kUnused, kWhyUnused, kUnusedToDo, false},
    {-45, "no memory for the settings of the job", kWhyMemory, kFreeMemory},
    {-46, "the temporary file cannot be made",
     "A job with SplitDataSize = 0 collects its data in the temporary folder: TMPDIR, or /tmp. "
     "That folder does not exist or cannot be written to. If the message speaks of memory, the "
     "system refused it.",
     "Set TMPDIR to a folder that exists, can be written to and has room for the data."},
    {-47, "the job file cannot be made (one packet)",
     "The folder of OutFilePath does not exist or cannot be written to, or OutFilePath names a "
     "folder. A job with SplitDataSize = 0 finds this out only after its data are collected.",
     "Check OutFilePath: its folder must exist and be writable. A relative path starts at the "
     "folder of the configuration."},
    {-48, "the temporary file cannot be removed",
     "Something else removed it while the job ran, or the permissions of the temporary folder "
     "have changed. The job stops before its last packet then.",
     "See that nothing clears the temporary folder while jobs run, and run the job again."},
    {-49, "the job file cannot be made",
     "The folder of OutFilePath does not exist or cannot be written to, or OutFilePath names a "
     "folder. If the message speaks of memory, a packet of SplitDataSize bytes does not fit in.",
     "Check OutFilePath: its folder must exist and be writable. If the message speaks of memory, "
     "set SplitDataSize = 65536."},

    // The packets.
    {-50, "no memory for the overrides", kWhyMemory, kFreeMemory},
    {-51, "the template of StartJob cannot be opened", kWhyTemplate,
     "Set StartJobXmlFile in [ODAX] to the path of the template, with slashes. A relative path "
     "starts at the folder of the configuration."},
    {-52, "no memory for the lines of StartJob", kWhyMemory, kFreeMemory},
    {-53, "the template of SetJobConfiguration cannot be opened", kWhyTemplate,
     "Set SetJobConfigurationXmlFile in [ODAX] to the path of the template, with slashes. A "
     "relative path starts at the folder of the configuration."},
    {-54, "no memory for the lines of SetJobConfiguration", kWhyMemory, kFreeMemory},
    {-55, "the template of SetConfiguration cannot be opened", kWhyTemplate,
     "Set SetConfigurationXmlFile in [ODAX] to the path of the template, with slashes. A relative "
     "path starts at the folder of the configuration."},
    {-56, "no memory for the lines of SetConfiguration", kWhyMemory, kFreeMemory},
    {-57, "the template of VendorCmd cannot be opened",
     "VendorCmdXmlFile is given, but the template does not exist or may not be read, or its "
     "completed path has more than 259 characters. An empty text, \"\", is no path either. "
     "Backslashes in template paths are not converted. For the command a relative path starts at "
     "the folder of the configuration; for a program that calls the library it starts at the "
     "folder of that program.",
     "Set VendorCmdXmlFile in [ODAX] to the path of the template, with slashes, or remove the line "
     "if there is no such packet. A relative path starts at the folder of the configuration."},
    {-58, "no memory for the lines of VendorCmd", kWhyMemory, kFreeMemory},
    {-59, "the template of SendData cannot be opened", kWhyTemplate,
     "Set SendDataXmlFile in [ODAX] to the path of the template, with slashes. A relative path "
     "starts at the folder of the configuration."},
    {-60, "no memory for the lines of SendData", kWhyMemory, kFreeMemory},
    {-61, "no memory to copy the data (one packet)", kWhyMemory, kFreeMemory},
    {-62, "the template of SendData cannot be opened (one packet)", kWhyTemplate,
     "Set SendDataXmlFile in [ODAX] to the path of the template, with slashes. A relative path "
     "starts at the folder of the configuration."},
    {-63, "no memory for the lines of SendData (one packet)", kWhyMemory, kFreeMemory},
    {-64, "the temporary file cannot be opened again",
     "A job with SplitDataSize = 0 collects its data in the temporary folder first. Something "
     "removed that file while the job ran.",
     "See that nothing clears the temporary folder while jobs run, and run the job again."},
    {-65, "the template of EndJob cannot be opened", kWhyTemplate,
     "Set EndJobXmlFile in [ODAX] to the path of the template, with slashes. A relative path "
     "starts at the folder of the configuration."},
    {-66, "no memory for the lines of EndJob", kWhyMemory, kFreeMemory},
    {-67, "an override makes a template line too long",
     "With the value in its place the line would have 1024 characters or more.",
     "Shorten the override that the message shows, or the template line. In all templates but "
     "SendData keep lines below 256 characters: of longer ones only a part is written."},
    {-68, "the path of the temporary folder is too long",
     "A job with SplitDataSize = 0 collects its data in the temporary folder: TMPDIR, or /tmp. Its "
     "path with the file's name has more than 259 characters.",
     "Set TMPDIR to a folder with a shorter path, /tmp for example."},
    {-69, kUnused, kWhyUnused, kUnusedToDo, false},
    {-70, kUnused, kWhyUnused, kUnusedToDo, false},
    {-71, "a template line with the word datasize has no value to replace", kWhyPlaceholder,
     "Write the element with a placeholder on one line: <job:datasize>0</job:datasize>. Use the "
     "word nowhere else in SendData and EndJob."},
    {-72, "no memory to write the size of the data", kWhyMemory, kFreeMemory},
    {-73, "a template line with the word continue has no value to replace", kWhyPlaceholder,
     "Write the element with a placeholder on one line: <job:continue>OFF</job:continue>. Use the "
     "word nowhere else in SendData."},
    {-74, "the SendDataFile cannot be opened",
     "The file does not exist or may not be read; this is found out only when its data are sent. "
     "For the command a relative path starts at the folder of the configuration; for a program "
     "that calls the library it starts at the current folder. Backslashes in it are not converted.",
     "Check SendDataFile: the path, its slashes and the permissions of the file. A relative path "
     "starts at the folder of the configuration."},

    // The rows.
    {-75, "no memory for a row", kWhyMemory, kFreeMemory},
    {-76, "HXRC: half a row without the row above exceeds its bound", kWhyCoder, kReportCoder},
    {-77, "HXRC: a row without the row above exceeds its bound", kWhyCoder, kReportCoder},
    {-78, "no memory for the row above", kWhyMemory, kFreeMemory},
    {-79, "HXRC: half a row with the row above exceeds its bound", kWhyCoder, kReportCoder},
    {-80, "HXRC: a row with the row above exceeds its bound", kWhyCoder, kReportCoder},
}};

constexpr bool isWithoutGap() {
  for (size_t i = 0; i < kAdvice.size(); ++i) {
    if (kAdvice[i].code != kFirstErrorCode - static_cast<int>(i)) return false;
  }
  return true;
}
static_assert(isWithoutGap(), "adviceFor() counts on it");

}  // namespace

const ErrorAdvice* adviceFor(int code) {
  if (code > kFirstErrorCode || code < kLastErrorCode) return nullptr;
  return &kAdvice.at(static_cast<size_t>(kFirstErrorCode - code));
}

std::span<const ErrorAdvice> allAdvice() {
  return kAdvice;
}

}  // namespace command
