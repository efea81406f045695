#include "text/characters.h"

#include "text/process_code_pages.h"

namespace qv {
namespace {

constexpr uint8_t kLeastTrailByte = 0x20;  // a control byte never completes a double-byte character

uint8_t ByteAt(const char* p, uint32_t index) { return static_cast<uint8_t>(p[index]); }

bool IsContinuation(uint8_t byte) { return (byte & 0xC0) == 0x80; }

// The length that a first byte announces; 0 for a continuation byte, 0xFE and 0xFF.
uint32_t AnnouncedLength(uint8_t lead) {
  if (lead < 0x80) return 1;
  if (lead < 0xC0) return 0;
  if (lead < 0xE0) return 2;
  if (lead < 0xF0) return 3;
  if (lead < 0xF8) return 4;
  if (lead < 0xFC) return 5;
  return lead < 0xFE ? 6 : 0;
}

uint32_t DoubleByteSize(const char* p, CodePage cp, uint32_t available) {
  if (!CPIsLeadByte(ByteAt(p, 0), cp)) return 1;
  return available >= 2 && ByteAt(p, 1) >= kLeastTrailByte ? 2 : 0;
}

bool IsCutSequence(const char* p, uint32_t available) {
  if (available >= AnnouncedLength(ByteAt(p, 0))) return false;
  for (uint32_t i = 1; i < available; ++i) {
    if (!IsContinuation(ByteAt(p, i))) return false;
  }
  return true;
}

}  // namespace

bool IsCutCharacter(const char* p, CodePage cp, uint32_t available) {
  if (p == nullptr || available == 0) return false;
  cp = ResolveCodePage(cp);
  if (cp == kUtf8) return IsCutSequence(p, available);
  const bool is_lead = available == 1 && CPIsLeadByte(ByteAt(p, 0), cp);
  return is_lead || available < static_cast<uint32_t>(CPTermSize(cp));
}

}  // namespace qv

uint32_t CPCharSize(const char* p, CodePage cp, uint32_t available) {
  if (p == nullptr || available == 0) return 0;
  cp = qv::ResolveCodePage(cp);
  if (cp == kUtf8) return UTF8SequenceLength(p, available);
  const auto unit = static_cast<uint32_t>(CPTermSize(cp));
  if (unit > 1) return available >= unit ? unit : 0;
  return qv::IsDoubleByteCodePage(cp) ? qv::DoubleByteSize(p, cp, available) : 1;
}

uint32_t CPCharSizeOrOne(const char* p, CodePage cp, uint32_t available) {
  if (p == nullptr) return 0;
  const uint32_t size = CPCharSize(p, cp, available);
  return size == 0 ? 1 : size;
}

bool CPIsTerminator(const char* p, CodePage cp) {
  const uint32_t size = CPCharSizeOrOne(p, cp);
  for (uint32_t i = 0; i < size; ++i) {
    if (p[i] != 0) return false;
  }
  return size > 0;
}

uint32_t UTF8SequenceLength(const char* p, uint32_t available) {
  if (p == nullptr || available == 0) return 0;
  const uint32_t length = qv::AnnouncedLength(qv::ByteAt(p, 0));
  if (length > available) return 0;
  for (uint32_t i = 1; i < length; ++i) {
    if (!qv::IsContinuation(qv::ByteAt(p, i))) return 0;
  }
  return length;
}

int UTF8PendingCount(const char* buffer, uint32_t length, int pending) {
  if (buffer == nullptr || pending < 0) return -1;
  for (uint32_t i = 0; length == 0 ? buffer[i] != 0 : i < length; ++i) {
    const uint8_t byte = qv::ByteAt(buffer, i);
    if (pending > 0) {
      if (!qv::IsContinuation(byte)) return -1;
      --pending;
      continue;
    }
    const uint32_t announced = qv::AnnouncedLength(byte);
    if (announced < 1 || announced > 4) return -1;  // streams carry only the modern forms
    pending = static_cast<int>(announced) - 1;
  }
  return pending;
}
