// Fonts, as far as one asks which character sets the installed ones cover.
#pragma once

#include "platform/host/types.h"

#define ANSI_CHARSET 0
#define DEFAULT_CHARSET 1
#define OUT_TT_PRECIS 4
#define CLIP_DEFAULT_PRECIS 0
#define DEFAULT_QUALITY 0
#define DEFAULT_PITCH 0

struct TEXTMETRICA {
  LONG tmHeight, tmAscent, tmDescent, tmInternalLeading, tmExternalLeading, tmAveCharWidth,
      tmMaxCharWidth, tmWeight, tmOverhang, tmDigitizedAspectX, tmDigitizedAspectY;
  BYTE tmFirstChar, tmLastChar, tmDefaultChar, tmBreakChar, tmItalic, tmUnderlined, tmStruckOut,
      tmPitchAndFamily, tmCharSet;
};

QV_HOST_API HFONT CreateFontA(int height, int width, int escapement, int orientation, int weight,
                              DWORD italic, DWORD underline, DWORD strike_out, DWORD char_set,
                              DWORD out_precision, DWORD clip_precision, DWORD quality,
                              DWORD pitch_and_family, LPCSTR face);
QV_HOST_API HGDIOBJ SelectObject(HDC context, HGDIOBJ object);
QV_HOST_API BOOL DeleteObject(HGDIOBJ object);
QV_HOST_API BOOL GetTextMetricsA(HDC context, TEXTMETRICA* metrics);
QV_HOST_API HWND GetDesktopWindow(void);
QV_HOST_API HDC GetDC(HWND window);
QV_HOST_API int ReleaseDC(HWND window, HDC context);
