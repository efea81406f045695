#include <gtest/gtest.h>

#include "platform/windows_api.h"

namespace {

// The character set of the font that is found for a wanted one; 255 when a step fails.
int FoundCharset(int wanted) {
  HDC context = GetDC(GetDesktopWindow());
  HFONT font = CreateFontA(12, 0, 0, 0, 400, 0, 0, 0, static_cast<DWORD>(wanted), OUT_TT_PRECIS,
                           CLIP_DEFAULT_PRECIS, DEFAULT_QUALITY, DEFAULT_PITCH, nullptr);
  HGDIOBJ before = SelectObject(context, font);
  TEXTMETRICA metrics{};
  bool measured = before && GetTextMetricsA(context, &metrics);
  SelectObject(context, before);
  EXPECT_TRUE(DeleteObject(font));
  ReleaseDC(GetDesktopWindow(), context);
  return measured ? metrics.tmCharSet : 255;
}

TEST(FontsTest, CharacterSetsThatAreFound) {
  for (int char_set : {0, 161, 162, 177, 178, 186, 204, 238}) {
    EXPECT_EQ(FoundCharset(char_set), char_set);
  }
  for (int char_set : {77, 128}) EXPECT_NE(FoundCharset(char_set), char_set);
}

}  // namespace
