// What is read and written is the same in every language: programs that use the library may have
// chosen their user's, in which numbers have a comma and their digits are grouped.
#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <locale>
#include <sstream>

#if defined(KESTRIX_SANITIZED)
#include <sanitizer/lsan_interface.h>
#endif

#include "Bt/btparse.h"
#include "builtscene.h"
#include "runprogram.h"
#include "save.h"

namespace {

// Conversions of samples, in all forms of text and FBX.
std::vector<std::string> WriteAll() {
  std::vector<std::string> files;
  const auto print = [&files](const auto& printable) {
    std::ostringstream os;
    printable.printOn(os);
    files.push_back(os.str());
  };
  const TestFolder folder;
  for (const std::string sample : {"fox", "robot"}) {
    const BuiltScene built(ReadFile(Sample(sample + ".mdl")), ReadFile(Sample(sample + ".dof")),
                           false, 2.54F, KESTRIX_SAMPLES);
    print(built.model);
    print(built.model_data);
    print(built.mapping);
    for (const char* version : {"FBX201100", "FBX201000"}) {
      for (const bool ascii : {false, true}) {
        const BtStr file = folder.path("written").c_str();
        EXPECT_TRUE(SaveScene(built.manager.get(), built.scene, file, ascii, true, version));
        files.push_back(folder.read("written"));
      }
    }
  }
  EXPECT_FALSE(BtReportError());
  return files;
}

// Makes the locale of this name the process's own; answers the one before.
std::locale Use(const char* name) {
#if defined(KESTRIX_SANITIZED)
  // The C library loses its list of the folders in LOCPATH each time.
  const __lsan::ScopedDisabler no_leaks_of_ours;
#endif
  return std::locale::global(std::locale(name));
}

bool ReadsAsTen(const char* text) {
  BtStr str(text);
  float number = 0;
  const bool read = BtReadFloat(&str, &number);
  theExceptObj.clear();
  return read && number > 9.9F && number < 10.1F;
}

TEST(Locale, DoesNotChangeWhatIsReadOrWritten) {
  const std::vector<std::string> expected = WriteAll();
  setenv("LOCPATH", KESTRIX_LOCALES, 1);
  const std::locale before = Use("de_DE.UTF-8");
  unsetenv("LOCPATH");
  std::ostringstream proof;
  proof << 1234.5;
  EXPECT_EQ(proof.str(), "1.234,5");
  EXPECT_STREQ(std::localeconv()->decimal_point, ",");
  const std::vector<std::string> found = WriteAll();
  EXPECT_TRUE(ReadsAsTen("9.95"));
  EXPECT_FALSE(ReadsAsTen("9.95e999")) << "too large, although there is a 9 before the comma";
  float number = 0;
  EXPECT_TRUE(BtStr("-9.5").floatValue(&number));
  Use(before.name().c_str());
  EXPECT_TRUE(found == expected);
}

}  // namespace
