#include "librarytest.h"

#include "standalone/standalone.h"

void useUserDir(const QString& directory)
{
    standalone::setConfigDir(directory);
}

void resetSiblings()
{
    standalone::forgetAll();
}
