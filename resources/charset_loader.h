// Loads the character set tables out of the module's resources ("CHST", "CHUC", "QVLB", "ZRcs")
// into the registries of the text layer, and sets the application code page.
//
// Called once at module start-up, before a second thread converts text.
#pragma once

#include "base/errors.h"

// Builds both registries and takes over the line-break lists (a body that breaks its form is left
// out). When a step fails (the enumeration of the system's code pages, memory, a
// pair converter) the converter registry is discarded as a whole and the step's error returned; the
// Unicode tables are then not loaded either if the step came before them, and the application code
// page stays 1252.
ZRError LoadCharsetTables();

// Empties both registries and the line-break lists.
void ReleaseCharsetTables();
