// equal DIRECTORY...: every .xml, .svg, .ui and .rng file below, read and written without Qt's
// parser and writer and with them. Ends with 1 when anything is not the same.

#include "treecomparison.h"

#include <format/documentreader_p.h>
#include <format/documentwriter_p.h>
#include <platform/limits.h>

#include <QCoreApplication>
#include <QDirIterator>
#include <QFile>

#include <cstdio>

namespace {

struct Counts {
    int nFiles = 0;
    int nRead = 0;
    int nWritten = 0;
    int nUnequal = 0;
};

void compare(const QString& text, const QString& path, Counts& counts)
{
    const auto read = KW::readDocument(text, KW::c_nMaxDepth);
    QDomDocument byQt;
    const bool bWellFormed = byQt.setContent(text);
    const auto written = KW::writtenDocument(byQt, KW::c_nMaxDepth);
    const bool bSame = (!read || (bWellFormed && treeDifference(*read, byQt).isEmpty()))
        && (!written || *written == byQt.toString(4).toStdString());
    counts.nFiles += 1;
    counts.nRead += read ? 1 : 0;
    counts.nWritten += written && bWellFormed ? 1 : 0;
    counts.nUnequal += bSame ? 0 : 1;
    if (!bSame) {
        std::printf("%s is not the same\n", qPrintable(path));
    }
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication app(argc, argv);
    Counts counts;
    for (const QString& directory : QCoreApplication::arguments().mid(1)) {
        for (QDirIterator each(directory, { "*.xml", "*.svg", "*.ui", "*.rng" },
                               QDir::Files | QDir::NoSymLinks, QDirIterator::Subdirectories);
             each.hasNext();) {
            QFile file(each.next());
            if (file.open(QIODevice::ReadOnly)) {
                compare(QString::fromUtf8(file.readAll()), file.fileName(), counts);
            }
        }
    }
    std::printf("%d files: %d read, %d written, the others left to Qt, %d unequal\n", counts.nFiles,
                counts.nRead, counts.nWritten, counts.nUnequal);
    return counts.nUnequal == 0 ? 0 : 1;
}
