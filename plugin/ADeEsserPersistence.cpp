// ADeEsser state that leaves the process: the host chunk, the default bank
// file "DeEsserDef.fxb" (user folder, then the plug-in's folder), saving a
// program from the editor, and the one-way import of legacy program files.
//
// Thread: all of it runs on the host's dispatcher/UI thread.
//
// Sizes and indices that arrive from outside (chunk sizes, a bank's current
// program, file fields, names) are bounded here: at most the destination's
// bytes are copied and an index outside 0..31 is ignored.
#include "ADeEsser.h"
#include "BankFile.h"
#include "CFile.h"
#include "IDeEsserPanel.h"
#include "ProgramFile.h"
#include "UserFolder.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

static bool isProgramIndex(VstInt32 index)
{
    return index >= 0 && index < kNumPrograms;
}

VstInt32 ADeEsser::getChunk(void** data, bool isPreset)
{
    if (isPreset)
    {
        *data = &programs[curProgram];
        return kProgramChunkSize;
    }
    programs[0].bankCurProgram = curProgram;
    *data = &programs[0];
    return kBankChunkSize;
}

VstInt32 ADeEsser::setChunk(void* data, VstInt32 byteSize, bool isPreset)
{
    // Never more than the destination holds; a negative size copies nothing.
    size_t destination = isPreset ? kProgramChunkSize : kBankChunkSize;
    size_t size = (data && byteSize > 0) ? std::min<size_t>((size_t)byteSize, destination) : 0;
    if (isPreset)
    {
        if (size)
            std::memcpy(&programs[curProgram], data, size);
    }
    else
    {
        if (size)
            std::memcpy(programs, data, size);
        // A current program outside the bank leaves the current one as it was.
        if (isProgramIndex(programs[0].bankCurProgram))
            curProgram = programs[0].bankCurProgram;
    }
    setProgram(curProgram);
    return 0;
}

// Reads the bank file at `path`. With applyAsChunk the chunk goes through
// setChunk into the live bank; otherwise its bytes are copied into `target`.
// Answers whether loading may go on: false when the file is missing, is not a
// "CcnK" file or belongs to another effect; true when it was loaded and also
// when it is a "CcnK" file without an opaque chunk (nothing loaded then).
bool ADeEsser::loadBankFile(const char* path, ADeEsserProgram* target, bool applyAsChunk)
{
    std::vector<unsigned char> chunk;
    switch (ReadBankFile(path, (uint32_t)kDeEsserUniqueID, kBankChunkSize, &chunk))
    {
    case kBankFileMissing:
    case kBankFileForeign:
    case kBankFileOtherEffect:
        return false;
    case kBankFileNoChunk:
        return true;
    case kBankFileLoaded:
        break;
    }
    if (applyAsChunk)
        setChunk(chunk.data(), (VstInt32)chunk.size(), false);
    else if (!chunk.empty())
        std::memcpy(target, chunk.data(), chunk.size());
    return true;
}

// The folder that holds the shipped bank, tried in turn: the host's answer cut
// after its last "/", the same answer taken as a folder (many hosts name the
// plug-in's folder without a trailing slash), then the folder of the loaded
// module. The first one whose bank file exists wins; when none has one, the
// cut answer (or, without an answer, the module's folder) is kept.
std::string ADeEsser::findPluginFolder()
{
    std::vector<std::string> folders;
    const char* directory = getDirectory();
    if (directory && directory[0] && std::strlen(directory) < sizeof(pluginFolder))
    {
        char cut[sizeof(pluginFolder)];
        std::strcpy(cut, directory);
        CutAfterLastSlash(cut);
        folders.push_back(cut);
        std::string asFolder = directory;
        if (asFolder.back() != '/')
            asFolder += '/';
        folders.push_back(asFolder);
    }
    char module[sizeof(pluginFolder)];
    if (GetModulePathName(module, sizeof(module)))
    {
        CutAfterLastSlash(module);
        folders.push_back(module);
    }
    for (const std::string& folder : folders)
        if (CFile::Exists((folder + kDefaultBankFileName).c_str()))
            return folder;
    return folders.empty() ? std::string() : folders.front();
}

void ADeEsser::LoadDefaultBank()
{
    std::string path = std::string(szGlobalMyApplicationDataPathName) + kDefaultBankFileName;
    if (!CFile::Exists(path.c_str()))
    {
        // No user copy: the shipped one beside the plug-in.
        std::string folder = findPluginFolder();
        pluginFolder[0] = '\0';
        if (folder.size() < sizeof(pluginFolder))
            std::memcpy(pluginFolder, folder.c_str(), folder.size() + 1);
        path = std::string(pluginFolder) + kDefaultBankFileName;
    }
    if (!loadBankFile(path.c_str(), programs, true))
        return; // the banks keep what they had; no factory bank either
    std::memcpy(initialPrograms, programs, sizeof(programs));
    SetFactoryProgram();
}

void ADeEsser::SetFactoryProgram()
{
    getDirectory(); // asked, as hosts expect; pluginFolder was settled by open()
    std::string path = std::string(pluginFolder) + kDefaultBankFileName;
    loadBankFile(path.c_str(), factoryPrograms, false);
}

bool ADeEsser::writeBankFile(const char* path)
{
    return WriteBankFile(path, (uint32_t)kDeEsserUniqueID, programs, kBankChunkSize);
}

void ADeEsser::reportSaveFailure()
{
    static const char kText[] = "The program file could not be saved.";
    IDeEsserEditor* ed = static_cast<IDeEsserEditor*>(editor);
    if (!ed || !ed->ShowMessage(kText))
        std::fprintf(stderr, "DeEsser: %s\n", kText);
}

void ADeEsser::SaveProgram(int destination, CString name)
{
    if (!isProgramIndex(destination) || !isProgramIndex(curProgram))
        return;
    std::string path = std::string(szGlobalMyApplicationDataPathName) + kDefaultBankFileName;

    ADeEsserProgram& target = programs[destination];
    target = programs[curProgram];
    std::memset(target.name, 0, sizeof(target.name));
    std::strncpy(target.name, name.GetString(), sizeof(target.name) - 1);
    initialPrograms[destination] = target;
    // The edited program goes back to its saved state (when it is the
    // destination, that is the record just saved).
    programs[curProgram] = initialPrograms[curProgram];
    curProgram = destination;
    setProgram(destination);
    programs[0].bankCurProgram = curProgram;

    if (!writeBankFile(path.c_str()))
        reportSaveFailure();
    if (audioMaster)
        notifyHost(audioMasterUpdateDisplay);
}

void ADeEsser::ConvertFrom(const char* listPath, const char* programFolder)
{
    ImportProgramList(listPath, programFolder, programs, kNumPrograms);
}

void ADeEsser::Convert()
{
    // The folder of the older effect family's compressor programs, as it was.
    ConvertFrom("D:\\VSTEFX\\Comp\\PROGRAM.LST", "D:\\VSTEFX\\Comp\\");
}
