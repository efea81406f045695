// A source of typed resources: a module (module_source.h) or a resource file. What asks for a
// resource asks the chain of sources (resource_chain.h), which comes through here.
//
//   class InMemory final : public CResSource { ... GetResource(type, number) ... };
//
// A type is four characters, the first in the most significant byte: "STR#" is 0x53545223. A number
// is a signed 16-bit value. A name is a length-prefixed string. A resource comes as a handle.
//
// Text. Two types hold text, in the source's code page:
//
//   "STR#"  a big-endian 16-bit count, then that many length-prefixed strings; the first is 1
//   "STR "  a length byte and text; its length is the resource's size less 1
//
// Text is converted on delivery from the source's code page to the one asked for, line ends left as
// they are, and cut at a whole character. kNoConversion, as either of them, means the bytes as they
// are. A text that cannot be converted is not delivered, rather than delivered as wrong characters.
// What is delivered may be cut, what is read may not: a list whose count or lengths pass its end
// gives the strings that lie wholly inside it.
//
// Errors: a look-up that finds nothing says so by its result (0, -1, false and an empty text);
// operations that a source does not offer answer ZRErrNotSupported.
// Threads: one task at a time. Ownership: stated with each operation.
#pragma once

#include <cstdint>

#include "base/counted_object.h"
#include "base/errors.h"
#include "memory/handles.h"
#include "text/code_pages.h"
#include "text/length_prefixed.h"

class CDiskFile;

namespace qv {

using ResourceTypeCode = uint32_t;

constexpr ResourceTypeCode ResourceType(const char (&name)[5]) {
  return static_cast<ResourceTypeCode>(static_cast<uint8_t>(name[0])) << 24 |
         static_cast<ResourceTypeCode>(static_cast<uint8_t>(name[1])) << 16 |
         static_cast<ResourceTypeCode>(static_cast<uint8_t>(name[2])) << 8 |
         static_cast<uint8_t>(name[3]);
}

constexpr ResourceTypeCode kStringListType = ResourceType("STR#");
constexpr ResourceTypeCode kStringType = ResourceType("STR ");

constexpr CodePage kNoConversion = kDefaultCodePage;

constexpr int32_t kNoResource = -1;  // in place of a size
constexpr int kStopWalk = 1;         // of a callback: exactly this ends the walk

// Called for each resource: one with a name of its own has number 0, the others an empty name.
using SourceCallback = int (*)(ResourceTypeCode type, int32_t number, const uint8_t* name,
                               CodePage cp, void* user_data);
using TypeCallback = int (*)(ResourceTypeCode type, void* user_data);

}  // namespace qv

// The operations stand in the order of the table of virtual functions, beginning with the two
// entries of the destructor (destroy; destroy and release) at 0 and 1.
class CResSource : public CCountedObject {
 public:
  CResSource() = default;
  virtual ~CResSource() = default;

  // --- the file behind the source. A file reference is a CDiskFile made with `new` ---

  // 2. Serves that file. On success the source owns it and *file is null; else *file stays.
  virtual ZRError Open(CDiskFile** file, bool read_only) = 0;
  // 3. Makes a new file; the words are those of its information record.
  virtual ZRError Create(CDiskFile* file, uint32_t word_1, uint32_t word_2) = 0;

  // --- look-up ---

  // 4, 5. The source's own handle, 0 when there is none. The caller locks it, never disposes of it.
  virtual ZRHandle GetResource(qv::ResourceTypeCode type, int32_t number) = 0;
  virtual ZRHandle GetNamedResource(qv::ResourceTypeCode type, const uint8_t* name) = 0;
  // 6, 7. A new handle, which the caller owns.
  virtual ZRHandle LoadResourceCopy(qv::ResourceTypeCode type, int32_t number) = 0;
  virtual ZRHandle LoadNamedResourceCopy(qv::ResourceTypeCode type, const uint8_t* name) = 0;
  // 8. Bytes, or kNoResource.
  virtual int32_t GetResourceSize(qv::ResourceTypeCode type, int32_t number) = 0;
  // 9. Calls for each resource of the type (0: of all types), until the callback answers kStopWalk.
  virtual ZRError EnumResources(qv::ResourceTypeCode type, qv::SourceCallback callback,
                                void* user_data) = 0;
  // 10. Calls for each type, until the callback answers kStopWalk.
  virtual ZRError EnumTypes(qv::TypeCallback callback, void* user_data) = 0;
  // 11, 12. From number to name (a Str255) and back.
  virtual ZRError GetResourceName(qv::ResourceTypeCode type, int32_t number, uint8_t* name) = 0;
  virtual ZRError GetResourceNumberByName(qv::ResourceTypeCode type, const uint8_t* name,
                                          int32_t* number) = 0;

  // --- change ---

  // 13 to 16. On success of AddResource the handle is the source's.
  virtual ZRError SetResourceName(qv::ResourceTypeCode type, int32_t number,
                                  const uint8_t* name) = 0;
  virtual ZRError RemoveResource(qv::ResourceTypeCode type, int32_t number) = 0;
  virtual ZRError ChangedResource(qv::ResourceTypeCode type, int32_t number) = 0;
  virtual ZRError AddResource(ZRHandle handle, qv::ResourceTypeCode type, int32_t number,
                              const uint8_t* name) = 0;
  // 17. Writes what was changed.
  virtual ZRError UpdateFile() = 0;

  // --- memory ---

  // 18. 0 when *handle was this source's and was released; it is 0 then.
  virtual ZRError ReleaseResource(ZRHandle* handle) = 0;
  // 19. Gives back what memory can be had again.
  virtual void PurgeResources() = 0;
  // 20. 0 when the handle was this source's and holds the resource's bytes again.
  virtual ZRError ReloadResource(ZRHandle handle) = 0;
  // 21. True when changes are not written yet.
  virtual bool IsDirty();

  // --- text ---

  // 22. String `index` (from 1) of a list: at most `maximum` bytes into `out`, which holds one byte
  // more. False, and an empty text, when there is none or it cannot be converted.
  virtual bool GetIndString(uint8_t* out, int32_t list, int32_t index, int32_t maximum,
                            CodePage cp);
  // 23. What the list says itself; 0 when there is none.
  virtual int32_t CountIndStrings(int32_t list);
  // 24. A whole string, zero-terminated, in a buffer of `size` bytes; true and an empty text for a
  // string without bytes. False, and an empty text, as above. A size that does not hold the
  // terminator of the code page is refused, the buffer untouched.
  virtual bool GetString(char* out, int32_t number, int32_t size, CodePage cp);
  // 25. A question to which every source answers 0.
  virtual int32_t AnswerNone();

  // --- the end, and the code page ---

  // 26, 27. ZRErrParam where there is no file of the source's own.
  virtual ZRError Close();
  virtual ZRError Reopen();
  // 28. 0, or why it could not be stored (a resource file keeps it).
  virtual ZRError SetCodePage(CodePage cp);

  CodePage code_page() const { return code_page_; }

 protected:
  CodePage code_page_ = qv::kNoConversion;
};
