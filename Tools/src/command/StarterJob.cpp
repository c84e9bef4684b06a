#include "StarterJob.h"

#include "PlateTiff.h"
#include "StarterPage.h"

namespace command {

namespace {

constexpr const char* kReadme = R"(A STARTER JOB FOR ODAXGEN

One page in four inks, ready to run. In this folder, type:

  odaxgen check job.cfg
      says what does not fit, without running the job

  odaxgen run job.cfg
      writes the job file, job.odx

  odaxgen verify job.cfg
      proves that job.odx holds exactly what job.cfg asks for

  odaxgen render job.odx -o pictures --config job.cfg
      draws the page as it will be printed, and each ink by itself, into the
      folder "pictures"

A job that fails ends with a code. This says what it means and what to do:

  odaxgen explain -36

What is here:

  job.cfg                              the job: read it, its notes say what to
                                       change for a page of your own
  page-K.tif page-C.tif                the page, one picture per ink: black,
  page-M.tif page-Y.tif                cyan, magenta, yellow; 600 x 800 dots,
                                       0 is no ink and 255 is full ink
  templates/StartJob.xml               the packets in front of the page
  templates/SetJobConfiguration.xml
  templates/SetConfiguration.xml
  templates/VendorCmd.xml
  templates/SendData.xml               stands before each piece of the page
  templates/EndJob.xml                 the packet behind the page

About the templates:

  - The names in them are made up. Your press, or its manual, says what they
    must be.
  - Keep each element whole on a line of its own, and lines below 256
    characters. The lines are sent without their ends.
  - The program fills in datasize and continue; the values that stand there
    only keep the place. Use these two words nowhere else in SendData.xml and
    EndJob.xml.
)";

constexpr const char* kConfiguration =
    R"(# A job of one page in four inks. "odaxgen check job.cfg" says what does not fit, README.txt says
# what else there is to type.
#
# A line is KEY = VALUE. What follows a "#" is a note, between quotes too, but not behind a section
# header: [Global] and the like stand alone on their lines. Upper and lower case count everywhere.
# The sections keep this order. Paths start at the folder of this file; write them with slashes.

[Global]
# The job file. An existing one is replaced.
OutFilePath = "job.odx"
# The page goes out in packets of this many bytes. With 0 it goes out in one packet.
SplitDataSize = 65536

[ODAX]
# The packets around the page are made of these text files, line by line.
StartJobXmlFile            = "templates/StartJob.xml"
SetJobConfigurationXmlFile = "templates/SetJobConfiguration.xml"
SetConfigurationXmlFile    = "templates/SetConfiguration.xml"
SendDataXmlFile            = "templates/SendData.xml"
EndJobXmlFile              = "templates/EndJob.xml"
# Remove this line when your press has no such packet.
VendorCmdXmlFile           = "templates/VendorCmd.xml"

# Every other key of this section replaces a value in the templates: these two replace what stands
# in <job:JobName> and <job:Copies>.
JobName = "My first job"
Copies  = 2
# Elements can also be told by their name: <job:Option name="Quality">.
Quality = fine
# This value leaves the line of the element out of the packet.
Proof = ODAXGEN_SUPPRESSION

[HXRaster]
# The dots per inch of your pictures, across and down.
GraphicsResolutionH = 150
GraphicsResolutionV = 150
# The printable width in dots. Without this line it is the width of the widest picture.
PrintableWidthInPixel = 600

[Image]
# Where the page begins, in dots from the upper left corner of the sheet.
StartingPositionX = 0
StartingPositionY = 0

# One picture per ink; put your own here. TIFF, uncompressed or PackBits, one sample per dot. A
# single CMYK picture goes in one line instead of these four: ImageFileCMYK = "page.tif"
ImageFileK = "page-K.tif"
ImageFileC = "page-C.tif"
ImageFileM = "page-M.tif"
ImageFileY = "page-Y.tif"

# The format of the rows: 3 stands for the inks K, C, M and Y, one plane each.
ColorSpace  = 3
NumOfPlanes = 4

# Bits per dot of each ink. With 8 the samples are sent as they are. A press with four drop sizes
# takes 2, one with sixteen takes 4: the samples then become so many levels. Try 2 and draw the
# page again.
PixelDepthK = 8
PixelDepthC = 8
PixelDepthM = 8
PixelDepthY = 8

# How rows are made smaller: 0 not at all, 2 each by itself (PackBits), 3 as differences from the
# row above, 256 as differences or PackBits, 4 with HXRC codes.
CompressionMode = 2

# A second page is a second [Image] section below this one. It takes its format from the first page
# if it says nothing of it; pictures and positions it must name itself.
)";

constexpr const char* kStartJob = R"(<?xml version="1.0" encoding="UTF-8"?>
<job:StartJob xmlns:job="urn:example:starter">
  <job:JobName>no name</job:JobName>
  <job:Sender>odaxgen</job:Sender>
  <job:Proof>first sheet</job:Proof>
</job:StartJob>
)";

constexpr const char* kSetJobConfiguration = R"(<?xml version="1.0" encoding="UTF-8"?>
<job:SetJobConfiguration xmlns:job="urn:example:starter">
  <job:Copies>1</job:Copies>
  <job:Option name="Quality">draft</job:Option>
  <job:Option name="Direction">both</job:Option>
</job:SetJobConfiguration>
)";

constexpr const char* kSetConfiguration = R"(<?xml version="1.0" encoding="UTF-8"?>
<job:SetConfiguration xmlns:job="urn:example:starter">
  <job:Paper name="Kind">matt</job:Paper>
  <job:Paper name="WidthInches">4</job:Paper>
  <job:Paper name="HeightInches">5.33</job:Paper>
</job:SetConfiguration>
)";

constexpr const char* kVendorCmd = R"(<?xml version="1.0" encoding="UTF-8"?>
<job:VendorCmd xmlns:job="urn:example:starter">
  <job:Command>clean heads</job:Command>
</job:VendorCmd>
)";

constexpr const char* kSendData = R"(<?xml version="1.0" encoding="UTF-8"?>
<job:SendData xmlns:job="urn:example:starter">
  <job:datasize>0</job:datasize>
  <job:continue>OFF</job:continue>
</job:SendData>
)";

constexpr const char* kEndJob = R"(<?xml version="1.0" encoding="UTF-8"?>
<job:EndJob xmlns:job="urn:example:starter">
  <job:datasize>0</job:datasize>
</job:EndJob>
)";

std::string below(const std::string& folder, const char* name) {
  return folder + "/" + name;
}

}  // namespace

std::vector<StarterFile> starterJob() {
  std::vector<StarterFile> files = {
      {"README.txt", kReadme},
      {kStarterConfiguration, kConfiguration},
      {below(kStarterTemplates, "StartJob.xml"), kStartJob},
      {below(kStarterTemplates, "SetJobConfiguration.xml"), kSetJobConfiguration},
      {below(kStarterTemplates, "SetConfiguration.xml"), kSetConfiguration},
      {below(kStarterTemplates, "VendorCmd.xml"), kVendorCmd},
      {below(kStarterTemplates, "SendData.xml"), kSendData},
      {below(kStarterTemplates, "EndJob.xml"), kEndJob},
  };
  for (const Plate& plate : drawStarterPage()) {
    files.push_back({std::string("page-") + plate.ink + ".tif", plateTiff(plate)});
  }
  return files;
}

}  // namespace command
