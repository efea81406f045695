#include "tools/resource_tool/tool.h"

#include <filesystem>

#include "tools/resource_tool/description.h"
#include "tools/resource_tool/writers.h"

namespace qvresource {
namespace {

constexpr char kUsage[] =
    "usage: qvresource --form pack|rc --output FILE [--depend FILE [--target FILE]]\n"
    "                  DESCRIPTION...\n"
    "Turns descriptions of module resources, and the data that they name, into\n"
    "  pack  FILE.pack, and FILE as the assembler source of a section \".qvres\" with it\n"
    "  rc    a resource script FILE and the binary bodies FILE.TYPE.NUMBER\n"
    "and writes, in make's form, that the --target (default: the output) depends on all files\n"
    "read to the --depend file.\n"
    "Exit code: 0 done, 1 wrong data (reported as FILE:LINE: reason), 2 wrong arguments.\n";

struct Options {
  std::string form, output, depend, target;
  std::vector<std::string> descriptions;
  bool help = false;
};

bool ParseArguments(const std::vector<std::string>& arguments, Options& options) {
  for (size_t i = 0; i < arguments.size(); ++i) {
    const std::string& word = arguments[i];
    std::string* value = word == "--form"     ? &options.form
                         : word == "--output" ? &options.output
                         : word == "--depend" ? &options.depend
                         : word == "--target" ? &options.target
                                              : nullptr;
    if (value != nullptr) {
      if (++i == arguments.size()) return false;
      *value = arguments[i];
    } else if (word == "--help") {
      options.help = true;
    } else if (word.starts_with("--")) {
      return false;
    } else {
      options.descriptions.push_back(word);
    }
  }
  return options.help || ((options.form == "pack" || options.form == "rc") &&
                          !options.output.empty() && !options.descriptions.empty());
}

std::string EscapedForMake(const std::string& path) {
  std::string text;
  for (char c : path) {
    if (c == ' ' || c == '#' || c == '\\') text += '\\';
    text += c;
    if (c == '$') text += '$';
  }
  return text;
}

bool WriteDependencies(const Options& options, const SourceReader& reader, Problem& problem) {
  if (options.depend.empty()) return true;
  std::string text = EscapedForMake(options.target.empty() ? options.output : options.target) + ":";
  for (const std::string& file : reader.files()) {
    text += " \\\n  " + EscapedForMake(std::filesystem::absolute(file).string());
  }
  return WriteFile(options.depend, text + "\n", problem);
}

bool Build(const Options& options, Problem& problem) {
  SourceReader reader;
  ResourceSet set;
  for (const std::string& description : options.descriptions) {
    if (!ReadDescription(description, reader, set, problem)) return false;
  }
  if (!set.FinishStrings(problem)) return false;
  const bool pack = options.form == "pack";
  return (pack ? WritePack : WriteScript)(options.output, set, problem) &&
         WriteDependencies(options, reader, problem);
}

}  // namespace

int RunTool(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& errors) {
  Options options;
  if (!ParseArguments(arguments, options)) {
    errors << kUsage;
    return 2;
  }
  if (options.help) {
    out << kUsage;
    return 0;
  }
  Problem problem;
  if (Build(options, problem)) return 0;
  errors << problem.text() << "\n";
  return 1;
}

}  // namespace qvresource
