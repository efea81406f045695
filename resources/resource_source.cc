#include "resources/resource_source.h"

#include "resources/locked_handle.h"
#include "resources/resource_text.h"
#include "resources/string_list.h"

bool CResSource::IsDirty() { return false; }

bool CResSource::GetIndString(uint8_t* out, int32_t list, int32_t index, int32_t maximum,
                              CodePage cp) {
  if (out == nullptr) return false;
  out[0] = 0;
  const qv::LockedHandle strings(GetResource(qv::kStringListType, list));
  const auto text = qv::StringOfList(strings.bytes(), index);
  return text && qv::DeliverLStr(*text, code_page_, out, maximum, cp);
}

int32_t CResSource::CountIndStrings(int32_t list) {
  const qv::LockedHandle strings(GetResource(qv::kStringListType, list));
  return qv::CountOfList(strings.bytes());
}

bool CResSource::GetString(char* out, int32_t number, int32_t size, CodePage cp) {
  if (!qv::BeginCString(out, size, cp)) return false;
  const qv::LockedHandle string(GetResource(qv::kStringType, number));
  if (string.bytes().empty()) return false;
  return qv::DeliverCString(string.bytes().subspan(1), code_page_, out, size, cp);
}

int32_t CResSource::AnswerNone() { return 0; }

ZRError CResSource::Close() { return ZRErrParam; }

ZRError CResSource::Reopen() { return ZRErrParam; }

ZRError CResSource::SetCodePage(CodePage cp) {
  code_page_ = cp;
  return ZRErrNone;
}
