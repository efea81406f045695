// Any texts under several system code pages: the request stays inside its buffers, is terminated,
// and no escape is ever cut in half.
#include <cstring>

#include "fuzz/fuzz_support.h"
#include "mapi/request_builder.h"
#include "platform/host/control.h"

namespace {

constexpr uint16_t kSystemPages[] = {1252, 65001, 932, 1251, 437, 949};

bool IsHex(char c) { return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F'); }

// Every "%" the builder writes is followed by two upper-case digits.
void CheckEscapes(const char* text) {
  for (const char* p = std::strchr(text, '%'); p; p = std::strchr(p + 1, '%')) {
    FUZZ_CHECK(IsHex(p[1]) && IsHex(p[2]));
  }
}

void CheckTerminated(const char* buffer, size_t size) {
  FUZZ_CHECK(std::memchr(buffer, 0, size) != nullptr);
  CheckEscapes(buffer);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  static uint16_t page = 1252;
  uint16_t wanted = kSystemPages[input.Byte() % std::size(kSystemPages)];
  if (wanted != page) host::SetAnsiCodePage(page = wanted);
  uint8_t pieces = input.Byte();

  // A file that is not there: the whole path is walked and converted, and nothing is copied.
  std::string path = input.Text(), name = input.Text();
  bool first = BeginMailRequest(pieces & 1 ? path.c_str() : nullptr,
                                pieces & 2 ? name.c_str() : nullptr, true);
  FUZZ_CHECK(!first || (pieces & 3));
  std::string subject = input.Text();
  AddRequestSubject(subject.c_str());
  for (int i = 0; i < 1 + pieces % 50; ++i) {
    std::string address = input.Text(400);
    // Again and again the same one, until a list is full.
    for (int again = 0; again <= pieces / 16; ++again) RouteRecipient(1 + i % 4, address.c_str());
  }
  AppendRecipientLists();
  std::string body = input.Rest();
  AddRequestBody(body.c_str());

  const auto& buffers = qv::RequestBuffers();
  CheckTerminated(buffers.request, sizeof buffers.request);
  CheckTerminated(buffers.subject, sizeof buffers.subject);
  CheckTerminated(buffers.to, sizeof buffers.to);
  CheckTerminated(buffers.cc, sizeof buffers.cc);
  CheckTerminated(buffers.bcc, sizeof buffers.bcc);
  CheckTerminated(buffers.body, sizeof buffers.body);
  // The hand-off's "&" still fits.
  FUZZ_CHECK(std::strlen(buffers.request) + 1 < sizeof buffers.request);
  return 0;
}
