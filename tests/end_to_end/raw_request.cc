// Sends the bytes of a file to the client as one request, such as no library would write.
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include "mapi/hand_off.h"

int main(int argc, char** argv) {
  std::ifstream file(argc > 1 ? argv[1] : "", std::ios::binary);
  std::string request{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  bool sent = SendRequestOverDde(request.c_str());
  std::puts(sent ? "accepted" : "refused");
  return sent ? 0 : 1;
}
