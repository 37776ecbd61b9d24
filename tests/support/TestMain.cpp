// The main of every test program. With ORLINTHS_TEST_LOCALE set the whole program runs in that locale, or fails.
#include <gtest/gtest.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <locale>

int main(int argc, char** argv) {
  if (const char* wanted = std::getenv("ORLINTHS_TEST_LOCALE")) {
    if (std::setlocale(LC_ALL, wanted) == nullptr) {
      std::fprintf(stderr, "The locale %s is not there.\n", wanted);
      return 1;
    }
    std::locale::global(std::locale(wanted));
  }
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
