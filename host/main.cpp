// deesser: a command-line VST 2.4 host that renders sound files through the
// de-esser plug-in (or any VST 2.4 effect) and measures what it did.
#include "Commands.h"
#include "COutputFile.h"

int main(int argc, char** argv)
{
    InstallCleanupHandlers();
    return RunDeEsser(argc, argv);
}
