// Compares a message file with what it should hold, read by an independent MIME library (GMime).
//
//   message_check MESSAGE.eml EXPECTED
//
// EXPECTED has lines "subject=TEXT", "to=ADDRESS", "cc=...", "bcc=...", "body=FILE" and
// "attachment=NAME=FILE", in the order of the message; files lie beside it. Addresses are
// "address" or "name <address>". Exit code 0 when all is as expected.
#include <gmime/gmime.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

using Lines = std::vector<std::string>;

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) std::fprintf(stderr, "cannot read %s\n", path.c_str());
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string OrNothing(const char* text) { return text == nullptr ? "(none)" : text; }

std::string AddressText(InternetAddress* address) {
  const char* name = internet_address_get_name(address);
  if (!INTERNET_ADDRESS_IS_MAILBOX(address)) return "(group) " + OrNothing(name);
  std::string spec =
      OrNothing(internet_address_mailbox_get_addr(INTERNET_ADDRESS_MAILBOX(address)));
  return name == nullptr || *name == '\0' ? spec : std::string(name) + " <" + spec + ">";
}

void AddAddresses(const char* label, InternetAddressList* list, Lines* lines) {
  for (int i = 0; list != nullptr && i < internet_address_list_length(list); ++i) {
    InternetAddress* address = internet_address_list_get_address(list, i);
    lines->push_back(label + ("=" + AddressText(address)));
  }
}

std::string Contents(GMimeObject* part) {
  GMimeDataWrapper* wrapper = g_mime_part_get_content(GMIME_PART(part));
  if (wrapper == nullptr) return "";
  GMimeStream* memory = g_mime_stream_mem_new();
  g_mime_data_wrapper_write_to_stream(wrapper, memory);
  GByteArray* bytes = g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(memory));
  return {reinterpret_cast<const char*>(bytes->data), bytes->len};
}

// What was expected beside what is there; contents are compared by themselves.
struct Comparison {
  Lines expected, found;
  std::vector<std::string> expected_contents, found_contents;
};

void ReadExpected(const std::string& path, Comparison* comparison) {
  std::string folder = path.substr(0, path.find_last_of('/') + 1);
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    bool is_body = line.starts_with("body="), is_attachment = line.starts_with("attachment=");
    if (is_body || is_attachment) {
      size_t file_name = line.rfind('=');
      comparison->expected_contents.push_back(ReadFile(folder + line.substr(file_name + 1)));
      line.resize(file_name);
    }
    comparison->expected.push_back(line);
  }
}

void ReadMessage(GMimeMessage* message, Comparison* comparison) {
  Lines& found = comparison->found;
  found.push_back("subject=" + OrNothing(g_mime_message_get_subject(message)));
  AddAddresses("to", g_mime_message_get_to(message), &found);
  AddAddresses("cc", g_mime_message_get_cc(message), &found);
  AddAddresses("bcc", g_mime_message_get_bcc(message), &found);
  GMimeObject* top = g_mime_message_get_mime_part(message);
  if (!GMIME_IS_MULTIPART(top)) found.push_back("(no multipart)");
  int count = GMIME_IS_MULTIPART(top) ? g_mime_multipart_get_count(GMIME_MULTIPART(top)) : 0;
  for (int i = 0; i < count; ++i) {
    GMimeObject* part = g_mime_multipart_get_part(GMIME_MULTIPART(top), i);
    bool text = g_mime_content_type_is_type(g_mime_object_get_content_type(part), "text", "plain");
    std::string name = OrNothing(g_mime_part_get_filename(GMIME_PART(part)));
    found.push_back(i == 0 && text ? "body" : "attachment=" + name);
    comparison->found_contents.push_back(Contents(part));
  }
}

// What a mail program needs beside the contents.
Lines Faults(GMimeMessage* message, const std::string& bytes) {
  Lines faults;
  if (g_mime_message_get_date(message) == nullptr) faults.push_back("no date");
  if (g_mime_message_get_message_id(message) == nullptr) faults.push_back("no message id");
  if (internet_address_list_length(g_mime_message_get_from(message)) != 1) {
    faults.push_back("no sender");
  }
  for (size_t start = 0; start < bytes.size();) {
    size_t end = bytes.find("\r\n", start);
    if (end == std::string::npos) return faults.push_back("line without CR LF"), faults;
    std::string line = bytes.substr(start, end - start);
    if (line.size() > 998) faults.push_back("line too long");
    if (line.find_first_of(std::string("\r\n\0", 3)) != std::string::npos) {
      faults.push_back("stray line end or NUL: " + line);
    }
    start = end + 2;
  }
  return faults;
}

bool Report(const Comparison& comparison, const Lines& faults) {
  bool good = faults.empty();
  for (const std::string& fault : faults) std::fprintf(stderr, "%s\n", fault.c_str());
  if (comparison.expected != comparison.found) {
    good = false;
    for (const std::string& line : comparison.expected) {
      std::fprintf(stderr, "expected %s\n", line.c_str());
    }
    for (const std::string& line : comparison.found) {
      std::fprintf(stderr, "found    %s\n", line.c_str());
    }
  }
  if (comparison.expected_contents != comparison.found_contents) {
    good = false;
    std::fprintf(stderr, "the contents of a part differ\n");
  }
  return good;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  g_mime_init();
  std::string bytes = ReadFile(argv[1]);
  GMimeStream* stream = g_mime_stream_mem_new_with_buffer(bytes.data(), bytes.size());
  GMimeParser* parser = g_mime_parser_new_with_stream(stream);
  GMimeMessage* message = g_mime_parser_construct_message(parser, nullptr);
  if (message == nullptr) return std::fprintf(stderr, "no message\n"), 1;
  Comparison comparison;
  ReadExpected(argv[2], &comparison);
  ReadMessage(message, &comparison);
  return Report(comparison, Faults(message, bytes)) ? 0 : 1;
}
