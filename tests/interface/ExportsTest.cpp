#include <dlfcn.h>

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "interface/ElfFile.h"

namespace {

const std::string Library = PHOTOMETER_LIBRARY_FOLDER "/libphotometer.so";
const std::string Layer = PHOTOMETER_LIBRARY_FOLDER "/libphotometer_platform.so";

// The C and C++ run-time libraries, those of the sanitizers that a build may ask for, and the optional one for pins.
constexpr const char* RuntimeLibraries =
    "lib(c|m|stdc\\+\\+|gcc_s|pthread|asan|ubsan|tsan|gpiod)\\.so\\.[0-9]+|ld-linux-x86-64\\.so\\.2";

TEST(Exports, LibraryExportsNothingButCreatePhotometer) {
  EXPECT_THAT(ElfFile(Library).ExportedSymbols(), testing::ElementsAre("CreatePhotometer"));
}

TEST(Exports, LayerExportsItsFunctions) {
  EXPECT_THAT(ElfFile(Layer).ExportedSymbols(), testing::Contains(testing::HasSubstr("WaitForMultipleObjects")));
}

TEST(Exports, LibrariesNeedNothingButTheRuntimeAndTheLayer) {
  EXPECT_THAT(ElfFile(Layer).DynamicTexts(DT_NEEDED), testing::Each(testing::MatchesRegex(RuntimeLibraries)));
  EXPECT_THAT(ElfFile(Library).DynamicTexts(DT_NEEDED),
              testing::Each(testing::AnyOf(testing::MatchesRegex(RuntimeLibraries), "libphotometer_platform.so.1")));
}

TEST(Exports, LibrariesAreKnownByTheirVersion) {
  EXPECT_THAT(ElfFile(Library).DynamicTexts(DT_SONAME), testing::ElementsAre("libphotometer.so.1"));
  EXPECT_THAT(ElfFile(Layer).DynamicTexts(DT_SONAME), testing::ElementsAre("libphotometer_platform.so.1"));
}

TEST(Exports, PlainHostLoadsLibraryAndFindsTheFunction) {
  void* pLibrary = dlopen(Library.c_str(), RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(pLibrary, nullptr) << dlerror();
  EXPECT_NE(dlsym(pLibrary, "CreatePhotometer"), nullptr) << dlerror();
  EXPECT_EQ(dlclose(pLibrary), 0) << dlerror();
}

}  // namespace
