// The description language: what a module's resources are, one per line.
//
//   string 2578 "C:\Temp\x.ini"          one string of the platform's table
//   list 999 "Ctrl+" "Alt+" "Shift+"     strings 999 * 16 and up, at most 16
//   chst 128 13 codepages/bytemaps.txt   a file of 13 byte maps, numbers 128 and up
//   chuc 128 codepages/single 437 737    FOLDER/PAGE.txt; each page takes two numbers, one for the
//                                        table to Unicode, one for the table from Unicode
//   wide 238 20002 codepages/jisx0208    a double-byte page: FILE.txt, FILE-reverse.txt; takes two
//   wide 240 932 codepages/932 20002     the same over a base page that stands above it, from which
//                                        it takes the rows that are equal
//   decompositions 244 unicode/decomposition.txt   takes four numbers
//   qvlb linebreak.txt                   line-break lists; each page's number is the code page's
//   timezones 98 tz/version.txt tz/zonelist.txt tz/rules.txt   takes three numbers; the rules have
//   to
//                                        parse, and to hold every zone of the list
//   joined 131 tz/display_names.txt      a string of the file's lines, parted by ';'
//   zrcs 1 1252                          a code page
//   bytes TEST 7 0A FF                   any type; its name is stored in upper case, one of the
//                                        platform's is given by its number (4: a menu)
//   named TEST BANNER 0A FF              the same with a name in place of the number
//   version 1.0.0.0 ProductName "QVSMAPI" DataVersion "202606"   keys and texts of the string block
//
// '#' starts a comment. Strings stand in quotation marks: a backslash is itself, "" is one mark.
// Paths are relative to the description. All is ASCII; numbers are decimal.
#pragma once

#include <string>

#include "tools/resource_tool/resource_set.h"
#include "tools/resource_tool/source_text.h"

namespace qvresource {

// Reads one description, and the data that it names, into the set.
bool ReadDescription(const std::string& path, SourceReader& reader, ResourceSet& set,
                     Problem& problem);

}  // namespace qvresource
