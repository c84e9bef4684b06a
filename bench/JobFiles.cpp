#include "JobFiles.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace bench {

namespace {

struct Template {
  const char* key;
  const char* name;
  const char* body;
};
constexpr Template kTemplates[] = {
    {"StartJobXmlFile", "StartJob", "<job:JobName>bench</job:JobName>\n"},
    {"SetJobConfigurationXmlFile", "SetJobConfiguration", "<job:Copies>1</job:Copies>\n"},
    {"SetConfigurationXmlFile", "SetConfiguration", "<job:MediaType>uncoated</job:MediaType>\n"},
    {"VendorCmdXmlFile", "VendorCmd", "<job:Command name=\"HeadHeight\">low</job:Command>\n"},
    {"SendDataXmlFile", "SendData",
     "<job:datasize>0</job:datasize>\n<job:continue>OFF</job:continue>\n"},
    {"EndJobXmlFile", "EndJob", "<job:datasize>0</job:datasize>\n"},
};

}  // namespace

void writeText(const std::string& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary);
  file << text;
  file.close();
  if (!file) throw std::runtime_error(path + ": cannot be written");
}

void writeTemplates(const std::string& folder) {
  for (const Template& one : kTemplates) {
    std::ostringstream text;
    text << "<?xml version=\"1.0\"?>\n<job:" << one.name
         << " xmlns:job=\"urn:example:bench-press\">\n"
         << one.body << "</job:" << one.name << ">\n";
    writeText(folder + '/' + one.name + ".xml", text.str());
  }
}

std::string headText(const JobHead& head) {
  std::ostringstream text;
  text << "[Global]\nOutFilePath = \"" << head.output << "\"\n";
  text << "SplitDataSize = " << head.splitDataSize << '\n';
  if (!head.sendDataFile.empty()) text << "SendDataFile = \"" << head.sendDataFile << "\"\n";
  text << "\n[ODAX]\n";
  for (const Template& one : kTemplates) {
    text << one.key << " = \"" << head.templates << '/' << one.name << ".xml\"\n";
  }
  if (!head.sendDataFile.empty()) return text.str();
  text << "\n[HXRaster]\nGraphicsResolutionH = 600\nGraphicsResolutionV = 600\n";
  return text.str();
}

void writeConfiguration(const std::string& path, const Job& job, const std::string& inputs,
                        const std::string& templates, const std::string& output) {
  const bool isRaster = job.image != nullptr;
  std::string text = headText(
      {output, templates, job.splitDataSize, isRaster ? "" : inputs + '/' + job.inputs[0].file});
  if (isRaster) {
    text += "\n[Image]\n";
    for (const InputKey& input : job.inputs) {
      if (input.key == nullptr) continue;
      text += std::string(input.key) + " = \"" + inputs + '/' + input.file + "\"\n";
    }
    text += job.image;
  }
  writeText(path, text);
}

}  // namespace bench
