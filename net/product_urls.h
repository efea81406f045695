// The product's own URLs: built from a record of parts, and read back into one.
//
//   qv::ProductURL parts;
//   parts.user = "ann";
//   parts.host = "mail.example.com";
//   parts.object = "Inbox";
//   parts.number = 7;
//   char url[2048];
//   ZRBuildQVPURL(parts, url, sizeof url);  // "qvp://ann@mail.example.com,Inbox,%237"
//
// Only the bytes that a URL cannot hold are escaped, not the marks between the parts. So a record
// comes back as it was when it has a host, no part holds ',' ';' ':' '@' or '/', and the object
// does not look like a number ("#7"). An object without a host is read as the host; a password
// needs a user.
//
// Threads: any; no state. Nothing is allocated.
#pragma once

#include <cstdint>
#include <optional>

namespace qv {

// A null text is an empty one: the part is not there. Texts are UTF-8.
struct ProductURL {
  const char* user = "";
  const char* password = "";
  const char* host = "";
  const char* port = "";
  const char* object = "";
  const char* parameters = "";
  const char* name = "";
  std::optional<int32_t> number = {};
  bool no_user = false;         // without a user, leave out the '@' as well
  bool empty_password = false;  // with a user but no password, write the ':' all the same

  // Only what is read has these.
  const char* query = "";       // what follows a '?', still escaped
  int credential_kind = 0;      // 1, 2: the password names a stored credential ("qvi...", "qvt...")
  const char* credential = "";  // the rest of such a password
};

constexpr uint32_t kMostProductURL = 2048;  // bytes before escaping

}  // namespace qv

// Writes the URL and a terminator into `size` bytes. Returns its length; 0, and an empty output,
// when it does not fit, or the text passes kMostProductURL bytes before it is escaped: a URL that
// was cut would lead elsewhere.
uint32_t ZRBuildQVPURL(const qv::ProductURL& parts, char* output, uint32_t size);

namespace qv {

// Reads a URL; the texts of the record then lie in `work`, which has at least as many bytes as the
// URL with its terminator, and are never null. False, and an empty record, when it does not begin
// with "qvp://" (in any case), names two objects or two numbers, or the work area is too small.
bool ReadProductURL(const char* url, char* work, uint32_t work_size, ProductURL* parts);

}  // namespace qv
