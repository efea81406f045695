// Any texts as a message: the file has only the header fields that the client writes, each once,
// and only lines that end with CR LF; no text can begin a field, a part or a line of its own.
#include <algorithm>
#include <map>
#include <string_view>

#include "fuzz/fuzz_support.h"
#include "programs/common/text.h"
#include "programs/qvclient/header_text.h"
#include "programs/qvclient/mime_writer.h"

namespace {

std::string Utf8(fuzz::Input& input) { return program::RepairUtf8(input.Text()); }

// The next line without its end; every line has one, and holds no stray CR, LF or NUL.
std::string_view TakeLine(std::string_view* text) {
  size_t end = text->find("\r\n");
  FUZZ_CHECK(end != std::string_view::npos);
  std::string_view line = text->substr(0, end);
  FUZZ_CHECK(line.find_first_of(std::string_view("\r\n\0", 3)) == std::string_view::npos);
  text->remove_prefix(end + 2);
  return line;
}

void CheckMessage(std::string_view text) {
  std::map<std::string_view, int> fields;
  for (std::string_view line = TakeLine(&text); !line.empty(); line = TakeLine(&text)) {
    if (line.front() != ' ') ++fields[line.substr(0, line.find(':'))];
  }
  for (const auto& [name, count] : fields) {
    FUZZ_CHECK(count == 1);
    constexpr std::string_view kNames[] = {
        "From", "To", "Cc", "Bcc", "Subject", "Date", "Message-ID", "MIME-Version", "Content-Type"};
    FUZZ_CHECK(std::ranges::find(kNames, name) != std::end(kNames));
  }
  int boundaries = 0;
  while (!text.empty()) boundaries += TakeLine(&text).starts_with("--") ? 1 : 0;
  FUZZ_CHECK(boundaries == 2);  // the body's, and the end
}

// What stands in a part's header: nothing but continuation lines.
void CheckParameter(std::string parameter) {
  parameter += "\r\n";
  std::string_view rest = parameter;
  for (bool first = true; !rest.empty(); first = false) {
    std::string_view line = TakeLine(&rest);
    FUZZ_CHECK(line.starts_with(first ? ";" : " ") && line.size() <= 200);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  qvclient::Message message;
  for (auto* list : {&message.to, &message.cc, &message.bcc}) {
    for (int count = input.Byte() % 4; count > 0; --count) list->push_back(Utf8(input));
  }
  message.subject = Utf8(input);
  std::string name = Utf8(input);
  message.body = Utf8(input);
  std::string text;
  qvclient::WriteMessage(message, {"user@localhost", "date", "id"}, [&](std::string_view bytes) {
    text += bytes;
    return DWORD{ERROR_SUCCESS};
  });
  CheckMessage(text);
  CheckParameter(qvclient::FileNameParameter(name));
  CheckParameter(qvclient::PlainNameParameter(name));
  return 0;
}
