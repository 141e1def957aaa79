// The program banks: selecting, naming, comparing, reverting and copying
// programs. Persistence (chunks and the bank file) is in ADeEsserPersistence.cpp.
#include "ADeEsser.h"
#include "IDeEsserPanel.h"

#include <cstring>
#include <initializer_list>

static bool isProgramIndex(int index)
{
    return index >= 0 && index < kNumPrograms;
}

void ADeEsser::setProgram(VstInt32 program)
{
    if (!isProgramIndex(program))
        return;
    curProgram = program;
    // Copy first: setParameter writes each value back into this very record.
    ADeEsserProgram record = programs[program];
    for (int i = 0; i < kNumParams; ++i)
        setParameter(i, record.values[i]);
    for (int i :
         {kParamThreshold, kParamRatio, kParamAttack, kParamRelease, kParamOutput, kParamInput})
        m_InternalValue[i] = NormalizeValToInternalVal(i, m_NormValue[i]);
    if (IDeEsserPanel* panel = GetPanel())
        panel->UpdateModify();
}

void ADeEsser::setProgramName(char* name)
{
    // The host's buffer is the 24-byte program-name buffer; stop at its NUL
    // so a shorter string is never read past its end.
    char* target = programs[curProgram].name;
    size_t n = strnlen(name, kProgramNameSize);
    std::memset(target, 0, kProgramNameSize);
    std::memcpy(target, name, n < kProgramNameSize ? n : kProgramNameSize);
    target[kProgramNameSize - 1] = 0;
}

void ADeEsser::getProgramName(char* name)
{
    const char* source = programs[curProgram].name;
    size_t n = strnlen(source, kProgramNameSize - 1);
    std::memcpy(name, source, n);
    name[n] = 0;
}

bool ADeEsser::getProgramNameIndexed(VstInt32 /*category*/, VstInt32 index, char* text)
{
    if (!isProgramIndex(index))
        return false;
    const char* source = programs[index].name;
    size_t n = strnlen(source, kProgramNameSize - 1);
    std::memcpy(text, source, n);
    text[n] = 0;
    return true;
}

bool ADeEsser::IsProgramChanged()
{
    return std::memcmp(programs[curProgram].values, initialPrograms[curProgram].values,
                       sizeof(programs[0].values)) != 0;
}

void ADeEsser::ProgramToInitial()
{
    programs[curProgram] = initialPrograms[curProgram];
    setProgram(curProgram);
    notifyHost(audioMasterUpdateDisplay);
}

void ADeEsser::ProgramToAllInitial()
{
    std::memcpy(programs, initialPrograms, sizeof(programs));
    setProgram(curProgram);
    notifyHost(audioMasterUpdateDisplay);
}

void ADeEsser::ProgramToFactory()
{
    programs[curProgram] = factoryPrograms[curProgram];
    setProgram(curProgram);
    notifyHost(audioMasterUpdateDisplay);
    if (IDeEsserPanel* panel = GetPanel())
        panel->UpdateModify();
}

void ADeEsser::ProgramToAllFactory()
{
    // No bank-wide factory reset exists; the panel's Control-click lands here.
}

void ADeEsser::CopyPgFrom(int source)
{
    if (!isProgramIndex(source))
        return;
    programs[curProgram] = programs[source];
    setProgram(curProgram);
    notifyHost(audioMasterUpdateDisplay);
}
