// Bitmap resources are looked up as resources/bmp%05d.png beside the module
// that holds the entry point (here, this test program).
#include "VstEntry.h"

#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

TEST(ResourcePath, FindsBmpFilesBesideTheModuleOrAnswersNull)
{
    char self[4096];
    ssize_t n = readlink("/proc/self/exe", self, sizeof(self) - 1);
    ASSERT_GT(n, 0);
    self[n] = 0;
    std::string folder(self);
    folder = folder.substr(0, folder.rfind('/') + 1) + "resources/";
    mkdir(folder.c_str(), 0755);
    const std::string file = folder + "bmp00005.png";
    std::FILE* f = std::fopen(file.c_str(), "wb");
    ASSERT_NE(f, nullptr);
    std::fclose(f);

    char* path = getResourcePath(5, "any.bundle.id");
    ASSERT_NE(path, nullptr);
    // A program (unlike a shared object) may be named relative to the
    // working folder; both name the same file.
    char* resolved = realpath(path, nullptr);
    ASSERT_NE(resolved, nullptr);
    EXPECT_EQ(std::string(resolved), file);
    EXPECT_NE(std::string(path).find("resources/bmp00005.png"), std::string::npos);
    std::free(resolved);
    std::free(path);
    EXPECT_EQ(getResourcePath(130, nullptr), nullptr); // bmp00130.png is absent
    std::remove(file.c_str());
    EXPECT_EQ(getResourcePath(5, nullptr), nullptr);
}
