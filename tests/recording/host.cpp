#include "librarytest.h"
#include "recording.h"

void useUserDir(const QString& directory)
{
    recording::answers().configDir = directory;
}

void resetSiblings()
{
    recording::reset();
}
