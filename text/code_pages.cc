#include "text/code_pages.h"

#include "text/process_code_pages.h"

namespace qv {
namespace {

constexpr bool Within(unsigned value, unsigned first, unsigned last) {
  return value >= first && value <= last;
}

}  // namespace

bool IsUnicodeCodePage(CodePage cp) {
  switch (cp) {
    case kUtf16Little:
    case kUtf16Big:
    case kUtf32Little:
    case kUtf32Big:
    case kUtf7:
    case kUtf8:
      return true;
    default:
      return false;
  }
}

bool IsDoubleByteCodePage(CodePage cp) {
  switch (cp) {
    case 932:
    case 936:
    case 949:
    case 950:
    case 10001:
    case 10002:
    case 10003:
    case 10025:
    case 20001:
    case 20014:
      return true;
    default:
      return false;
  }
}

bool IsCharacterWiseCodePage(CodePage cp) {
  switch (cp) {
    case 1361:
    case 20002:
    case 20003:
    case 20004:
      return true;  // walked, although every byte is a character
    case kUtf7:
      return false;
    default:
      return IsUnicodeCodePage(cp) || IsDoubleByteCodePage(cp);
  }
}

LineEndMode NativeLineEnd(CodePage cp) {
  return Within(cp, 10000, 20000) && !IsUnicodeCodePage(cp) ? kCr : kCrLf;
}

int ScriptClass(CodePage cp) {
  enum { kWindows, kUnicode, kMacintosh, kOther, kDos };
  if (IsUnicodeCodePage(cp)) return kUnicode;
  if (Within(cp, 1250, 1257)) return kWindows;
  if (Within(cp, 10000, 10007)) return kMacintosh;
  if (Within(cp, 708, 711) || Within(cp, 850, 852) || Within(cp, 860, 866)) return kDos;
  switch (cp) {
    case 932:
    case 936:
    case 950:
    case 1361:
      return kWindows;
    case 10021:
    case 10025:
    case 10029:
    case 10079:
    case 10081:
      return kMacintosh;
    case 437:
    case 720:
    case 737:
    case 775:
    case 819:
    case 855:
    case 857:
    case 869:
    case 874:
    case 949:
      return kDos;
    default:
      return kOther;
  }
}

uint8_t FontCharset(CodePage cp) {
  constexpr uint8_t kDefaultCharset = 1;
  if (Within(cp, 10000, 10007)) return static_cast<uint8_t>(77 + (cp - 10000));
  switch (cp) {
    case 437:
    case 819:
    case 850:
    case 852:
    case 863:
    case 1252:
      return 0;  // Western
    case 737:
    case 851:
    case 869:
    case 1253:
      return 161;  // Greek
    case 857:
    case 1254:
      return 162;  // Turkish
    case 862:
    case 1255:
      return 177;  // Hebrew
    case 864:
    case 1256:
      return 178;  // Arabic
    case 775:
    case 1257:
      return 186;  // Baltic
    case 855:
    case 1251:
      return 204;  // Cyrillic
    case 874:
      return 222;  // Thai
    case 1250:
      return 238;  // Central European
    case 932:
      return 128;
    case 949:
      return 129;
    case 1361:
      return 130;
    case 936:
      return 134;
    case 950:
      return 136;
    case 10021:
      return 98;
    case 10025:
      return 102;
    case 10029:
      return 106;
    case 10079:
      return 156;
    case 10081:
      return 158;
    default:
      return kDefaultCharset;
  }
}

}  // namespace qv

int CPTermSize(CodePage cp) {
  switch (qv::ResolveCodePage(cp)) {
    case kUtf16Little:
    case kUtf16Big:
      return 2;
    case kUtf32Little:
    case kUtf32Big:
      return 4;
    default:
      return 1;
  }
}

bool CPIsLeadByte(uint8_t byte, CodePage cp) {
  switch (qv::ResolveCodePage(cp)) {
    case 932:
    case 10001:
      return qv::Within(byte, 0x81, 0x9F) || qv::Within(byte, 0xE0, 0xEF);
    case 936:
    case 949:
    case 10003:
    case 10025:
    case 20001:
      return byte == 0x8E || qv::Within(byte, 0xA1, 0xFE);
    case 950:
    case 10002:
      return qv::Within(byte, 0xA1, 0xFE);
    case 20014:
      return qv::Within(byte, 0x81, 0xFE);
    default:
      return false;
  }
}
