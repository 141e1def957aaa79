// Bitmap resource lookup of the entry module: resources/bmp%05d.png in the
// folder of the module that holds it.
#include "VstEntry.h"

#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <string>
#include <sys/stat.h>

// Folder of this shared object, ending in "/"; empty when unknown.
static std::string pluginDirectory()
{
    Dl_info info;
    if (!dladdr((void*)&getResourcePath, &info) || !info.dli_fname)
        return std::string();
    std::string path = info.dli_fname;
    size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

char* getResourcePath(int id, const char* /*bundleIdentifier*/)
{
    char name[32];
    std::snprintf(name, sizeof(name), "bmp%05d.png", id);
    std::string path = pluginDirectory() + "resources/" + name;
    struct stat st;
    if (stat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode))
        return nullptr;
    return strdup(path.c_str());
}
