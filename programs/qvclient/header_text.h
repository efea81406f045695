// Text in the header fields of a message (RFC 5322, 2047, 2231): whatever comes in, what goes out
// is one well-formed field that keeps the text, with lines of at most 76 characters where an
// encoding allows it. Control characters become blanks, so a line end in a text can begin no field
// of its own.
//
// All texts are valid UTF-8. Fields end with CR LF.
#pragma once

#include <string>
#include <vector>

namespace qvclient {

// "Subject: text", in encoded words where the text is not plain ASCII that fits the line.
std::string TextField(const std::string& name, const std::string& text);

// "To: a,\r\n b", one address a line; "" for no address.
//   bob, bob@example.com      as they are; non-ASCII letters stay UTF-8 (RFC 6532)
//   Bob <bob@example.com>     the name quoted or in encoded words
//   anything else             the part before the last "@" quoted
std::string AddressField(const std::string& name, const std::vector<std::string>& addresses);

// "; filename=..." for a Content-Disposition: quoted when short and plain, else in the extended
// form (filename*=UTF-8''..., continued over several lines when long).
std::string FileNameParameter(const std::string& file_name);
// "; name=..." for a Content-Type, for readers that know only that: ASCII letters, others as "_".
std::string PlainNameParameter(const std::string& file_name);

}  // namespace qvclient
