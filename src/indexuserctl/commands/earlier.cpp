#include "commands/earlier.h"

#include "commands/snapshot.h"
#include "commands/wholefile.h"

#include <QFileInfo>

bool namesUser(const QString& word)
{
    return dayOf(word).isValid() || word == QLatin1String("-") || QFileInfo::exists(word);
}

Earlier earlierUser(const Request& request, const QString& word)
{
    const QString strPath
        = dayOf(word).isValid() ? datedCopy(request, word).strPath : inputPath(word);
    return { word, inspect::recordsOf(wholeFile(strPath).document) };
}
