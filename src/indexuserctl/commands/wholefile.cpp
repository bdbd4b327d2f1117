#include "commands/wholefile.h"

#include "failure.h"
#include "terminal/outputfile.h"
#include "terminal/secret.h"

#include <mend/reencode.h>

QString inputPath(const QString& word)
{
    if (word.isEmpty()) {
        throw CFailure(ExitStatus::Usage, QStringLiteral("FILE: the name of a file is wanted"));
    }
    return word == QLatin1String("-") ? QStringLiteral("/dev/stdin") : word;
}

QString encodingHint(const inspect::FileError& error)
{
    return mend::isConvertible(error)
        ? QStringLiteral("; 'recover --encoding %1' converts a user's file").arg(error.strDetail)
        : QString();
}

namespace {

template <typename File> File whole(File file)
{
    if (file.state == inspect::FileState::Damaged) {
        throw CFailure(ExitStatus::Damaged, toText(file.error) + encodingHint(file.error),
                       placeOf(file.error));
    }
    if (file.state != inspect::FileState::Whole) {
        throw CFailure(ExitStatus::InputOutput, toText(file.error), placeOf(file.error));
    }
    return file;
}

} // namespace

inspect::UserFile wholeFile(const QString& path)
{
    noteInput(path);
    return whole(inspect::readUserFile(path));
}

inspect::UserFile wholeDocument(const QString& path)
{
    noteInput(path);
    return whole(inspect::readDocument(path));
}

inspect::UserFile liveFile(const Request& request)
{
    return wholeFile(inspect::livePath(request.strConfigDir));
}

QByteArray contentOf(const QString& path)
{
    noteInput(path);
    return whole(inspect::readBytes(path)).bytes;
}

QString valueIn(const QString& word)
{
    const std::optional<QString> line = firstLine(contentOf(inputPath(word)));
    if (!line) {
        throw CFailure(ExitStatus::Damaged, word + ": the first line is not UTF-8", { word, 1 });
    }
    return *line;
}

QByteArray wholeBytes(const inspect::FileBytes& file)
{
    whole(inspect::userFileOf(file));
    return file.bytes;
}
