#include "net/product_urls.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

using qv::ProductURL;

constexpr char kUntouched = '\x5A';

std::string Build(const ProductURL& parts, uint32_t size = 4096) {
  std::string output(size + 8, kUntouched);
  const uint32_t length = ZRBuildQVPURL(parts, output.data(), size);
  EXPECT_EQ(output.find_first_not_of(kUntouched, size), std::string::npos) << "wrote behind";
  EXPECT_EQ(output[length], '\0');
  return output.substr(0, length);
}

// One line that shows every part that is there.
std::string Shown(const ProductURL& parts) {
  std::string line;
  const auto add = [&line](const char* name, const std::string& text) {
    if (!text.empty()) line += (line.empty() ? "" : " ") + (name + ("=" + text));
  };
  add("user", parts.user);
  add("password", parts.password);
  add("host", parts.host);
  add("port", parts.port);
  add("object", parts.object);
  if (parts.number) add("number", std::to_string(*parts.number));
  add("parameters", parts.parameters);
  add("name", parts.name);
  add("query", parts.query);
  if (parts.no_user) add("no", "user");
  if (parts.empty_password) add("empty", "password");
  if (parts.credential_kind) add("kind", std::to_string(parts.credential_kind));
  add("credential", parts.credential);
  return line;
}

std::string Read(const std::string& url) {
  std::string work(url.size() + 1, '\0');
  const auto size = static_cast<uint32_t>(work.size());
  ProductURL parts;
  return qv::ReadProductURL(url.c_str(), work.data(), size, &parts) ? Shown(parts) : "-";
}

TEST(ProductURLs, AreBuiltFromTheirParts) {
  const struct {
    const char* name;
    ProductURL parts;
    std::string url;
  } kRows[] = {
      {"nothing", {}, "qvp://@"},
      {"not even a user", {.no_user = true}, "qvp://"},
      {"user", {.user = "ann"}, "qvp://ann@"},
      {"a user beats the flag", {.user = "ann", .no_user = true}, "qvp://ann@"},
      {"password", {.user = "ann", .password = "x"}, "qvp://ann:x@"},
      {"empty password", {.user = "ann", .empty_password = true}, "qvp://ann:@"},
      {"password without a user", {.password = "x", .empty_password = true}, "qvp://@"},
      {"host", {.host = "h"}, "qvp://@h"},
      {"port", {.host = "h", .port = "80"}, "qvp://@h:80"},
      {"port without a host", {.port = "80"}, "qvp://@"},
      {"object", {.host = "h", .object = "o"}, "qvp://@h,o"},
      {"object without a host", {.object = "o"}, "qvp://@o"},
      {"number", {.host = "h", .number = -5}, "qvp://@h,%23-5"},
      {"number 0", {.number = 0}, "qvp://@,%230"},
      {"all",
       {.user = "u",
        .password = "p",
        .host = "h",
        .port = "1",
        .object = "o",
        .parameters = "x=1",
        .name = "n",
        .number = 2147483647},
       "qvp://u:p@h:1,o,%232147483647;x=1/n"},
      {"escaped",
       {.host = "h", .name = "<>\"#%{}|\\^~[]'`?+&\xE9 "},
       "qvp://@h/%3C%3E%22%23%25%7B%7D%7C%5C%5E~%5B%5D%27%60%3F%2B%26%E9%20"},
      {"kept", {.host = "h", .name = "()*!$=-_."}, "qvp://@h/()*!$=-_."},
      {"null texts", {nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr}, "qvp://@"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Build(row.parts), row.url);
  }
}

TEST(ProductURLs, AreNeverCut) {
  const ProductURL small = {.host = "a b"};  // "qvp://@a%20b"
  EXPECT_EQ(Build(small, 13), "qvp://@a%20b");
  EXPECT_EQ(Build(small, 12), "");
  EXPECT_EQ(Build(small, 1), "");
  EXPECT_EQ(ZRBuildQVPURL(small, nullptr, 9), 0u);
  const std::string most(qv::kMostProductURL - 7, 'h'), more = most + 'h';
  EXPECT_EQ(Build({.host = most.c_str()}).size(), qv::kMostProductURL);
  EXPECT_EQ(Build({.host = more.c_str()}), "");
}

TEST(ProductURLs, AreRead) {
  const struct {
    const char* name;
    std::string url, expected;
  } kRows[] = {
      {"all parts", "qvp://u:p@h:1,o,%237;x=1/n?q=%20",
       "user=u password=p host=h port=1 object=o number=7 parameters=x=1 name=n query=q=%20"},
      {"scheme in any case", "QvP://@h", "host=h"},
      {"another scheme", "qvq://@h", "-"},
      {"no scheme", "", "-"},
      {"no user", "qvp://h", "host=h no=user"},
      {"empty password", "qvp://u:@h", "user=u host=h empty=password"},
      {"stored credential", "qvp://u:qvi12@h", "user=u password=qvi12 host=h kind=1 credential=12"},
      {"the other kind", "qvp://u:qvt@h", "user=u password=qvt host=h kind=2"},
      {"number before the object", "qvp://@h,#3,o", "host=h object=o number=3"},
      {"number alone", "qvp://@,#3", "number=3"},
      {"no number", "qvp://@h,#3x", "host=h object=#3x"},
      {"too large a number", "qvp://@h,#2147483648", "host=h object=#2147483648"},
      {"two numbers", "qvp://@h,#3,#4", "-"},
      {"two objects", "qvp://@h,o,p", "-"},
      {"empty segments", "qvp://@h,,o,", "host=h object=o"},
      {"slash and semicolon in the name", "qvp://@h/a;b/c", "host=h name=a;b/c"},
      {"escaped question mark", "qvp://@h/a%3Fb", "host=h name=a?b"},
      {"zero byte ends", "qvp://@h%00,o", "host=h"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Read(row.url), row.expected);
  }
}

TEST(ProductURLs, NeedAWorkAreaOfTheirLength) {
  char work[10];
  ProductURL parts;
  EXPECT_TRUE(qv::ReadProductURL("qvp://@ab", work, 10, &parts));
  EXPECT_FALSE(qv::ReadProductURL("qvp://@ab", work, 3, &parts));
  EXPECT_STREQ(parts.host, "");
  EXPECT_FALSE(qv::ReadProductURL(nullptr, work, 10, &parts));
}

// Any record with a host whose parts hold none of the marks between parts.
TEST(ProductURLs, ComeBackAsTheyWere) {
  std::mt19937 random(7);
  const auto text = [&random](size_t shortest) {
    static constexpr std::string_view kMarks = ",;:@/";
    std::string bytes;
    const size_t length = shortest + random() % 12;
    while (bytes.size() < length) {
      const char c = static_cast<char>(1 + random() % 255);
      if (kMarks.find(c) == kMarks.npos) bytes += c;
    }
    return bytes;
  };
  for (int round = 0; round < 3000; ++round) {
    const std::string user = text(0), password = text(0), host = text(1), port = text(0),
                      object = "o" + text(0), parameters = text(0), name = text(0);
    ProductURL parts = {user.c_str(),   password.c_str(),   host.c_str(), port.c_str(),
                        object.c_str(), parameters.c_str(), name.c_str()};
    if (round % 3 == 0) parts.number = static_cast<int32_t>(random());
    if (user.empty()) {
      parts.password = "";
      parts.no_user = round % 2 == 0;
    } else if (password.empty()) {
      parts.empty_password = round % 2 == 0;
    }
    EXPECT_EQ(Read(Build(parts)), Shown(parts));
  }
}

}  // namespace
