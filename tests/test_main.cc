// main of every test suite: a fresh state directory for the process, then the tests.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/test_platform.h"

int main(int argc, char** argv) {
  test::StartWithOwnState();
  testing::InitGoogleMock(&argc, argv);
  int result = RUN_ALL_TESTS();
  test::RemoveOwnState();
  return result;
}
