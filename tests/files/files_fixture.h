// What the suites of this folder share: messages and debug output kept, settings of a test's own.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "app/message.h"
#include "app/settings.h"
#include "base/hooks.h"
#include "files/errors.h"
#include "files/file_options.h"
#include "files/file_request.h"
#include "files/locations.h"
#include "files/volumes.h"
#include "tests/test_platform.h"
#include "text/formatter.h"

namespace test {

// Every line that the file layer said, in its order: messages as they are, the debug log's texts
// after "log: ".
std::vector<std::string>& Said();

class FilesTest : public testing::Test {
 protected:
  FilesTest();
  ~FilesTest() override;

  // The component starts as in a new process afterwards.
  void Set(const char* section, const char* key, const char* value);
  static void StartAnew();

  const std::string folder_ = TempFolder();
};

}  // namespace test
