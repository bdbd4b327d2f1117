#include "commands/sectors.h"

#include "commands/wholefile.h"
#include "failure.h"
#include "terminal/output.h"
#include "terminal/outputfile.h"

#include <format/sectorfiltertext.h>
#include <inspect/closest.h>
#include <inspect/filterline.h>
#include <inspect/plaintext.h>

#include <indexuser/cuserconfigmanager.h>
#include <platform/environment.h>
#include <standalone/standalone.h>

#include <QDir>
#include <QTemporaryDir>

#include <algorithm>

namespace {

// The table of filters is for classes derived from the manager to fill.
class CFilterAccess : public KW::CUserConfigManager {
public:
    static void load(KW::CUserConfigManager& manager, const QString& line)
    {
        QDomDocument doc;
        QDomElement root = doc.createElement("filters");
        QDomElement group = doc.createElement("sectorFilter");
        group.setAttribute("param", line);
        root.appendChild(doc.createElement(KW::c_szSectorFilter)).appendChild(group);
        (manager.*&CFilterAccess::loadSectorFilterConfig)(root);
    }
};

QVector<standalone::Sector> allSectors()
{
    const standalone::SectorCatalogue catalogue
        = standalone::readSectors(standalone::sectorsFile());
    if (catalogue.error != standalone::SectorsError::None) {
        throw CFailure(catalogue.error == standalone::SectorsError::Damaged
                           ? ExitStatus::Damaged
                           : ExitStatus::InputOutput,
                       catalogue.strError, { standalone::sectorsFile(), catalogue.nLine });
    }
    return catalogue.sectors;
}

standalone::Sector sectorOf(const QString& code)
{
    const QVector<standalone::Sector> sectors = allSectors();
    const auto it = std::find_if(sectors.begin(), sectors.end(),
                                 [&](const auto& sector) { return sector.code == code; });
    if (it == sectors.end()) {
        QStringList codes;
        for (const auto& sector : sectors) {
            codes.append(sector.code);
        }
        throw CFailure(ExitStatus::Negative,
                       QStringLiteral("there is no sector '%1'").arg(code)
                           + inspect::didYouMean(code, codes));
    }
    if (it->constituents.isEmpty()) {
        throw CFailure(ExitStatus::Negative, QStringLiteral("sector %1 has no stocks").arg(code));
    }
    return *it;
}

void requirePlainStocks(const standalone::Sector& sector)
{
    for (const standalone::SectorConstituent& stock : sector.constituents) {
        const QString strKey = stock.market + stock.code;
        const QString strError = inspect::textError(strKey);
        if (!strError.isEmpty()) {
            throw CFailure(
                ExitStatus::Damaged,
                QStringLiteral("sector %1: the stock '%2' %3").arg(sector.code, strKey, strError));
        }
    }
}

// Without a filter the sector's name becomes that of the file.
void requireFileName(const standalone::Sector& sector)
{
    const QString strError = inspect::fileNameError(sector.name);
    if (!strError.isEmpty()) {
        throw CFailure(
            ExitStatus::Damaged,
            QStringLiteral("sector %1: the name '%2' %3").arg(sector.code, sector.name, strError));
    }
}

void useFilter(const QString& sector, const QString& line)
{
    const QString strError = inspect::exportFilterError(line);
    if (!strError.isEmpty()) {
        throw CFailure(ExitStatus::Usage, QStringLiteral("filter: %1").arg(strError));
    }
    if (!inspect::hasFilterFor(line, sector)) {
        throw CFailure(ExitStatus::Usage,
                       QStringLiteral("filter: no group for sector %1").arg(sector));
    }
    CFilterAccess::load(*utils::CSingletonT<KW::CUserConfigManager>::instance(), line);
}

void write(const QString& path, const QByteArray& content)
{
    const QString strError = replaceOutput(path, content);
    if (!strError.isEmpty()) {
        throw CFailure(ExitStatus::InputOutput, path + ": " + strError);
    }
}

} // namespace

// The service answers true whatever became of the file. In a folder of its own there is either the
// whole file or nothing, and an older file of the day is replaced only by a whole one.
SectorExport exportSector(const QString& sector, const QString& directory,
                          const std::optional<QString>& filter, mend::RunMode mode)
{
    if (directory.isEmpty()) {
        throw CFailure(ExitStatus::Usage, QStringLiteral("DIR: a directory is wanted"));
    }
    requireNothingOfTheUser(KW::getConfigDir(), directory);
    const standalone::Sector found = sectorOf(sector);
    requirePlainStocks(found);
    if (filter) {
        useFilter(sector, *filter);
    } else {
        requireFileName(found);
    }
    const QTemporaryDir folder(QDir(directory).filePath(QStringLiteral(".export-XXXXXX")));
    if (!folder.isValid()) {
        throw CFailure(ExitStatus::InputOutput,
                       QStringLiteral("%1: %2").arg(directory, folder.errorString()));
    }
    KW::UserConfigFactory::getIndexUserConfig()->exportSectorStock2CVS(sector, folder.path());
    const QStringList files = QDir(folder.path()).entryList(QDir::Files);
    if (files.size() != 1) {
        throw CFailure(ExitStatus::InputOutput,
                       QStringLiteral("%1: the file was not written").arg(directory));
    }
    SectorExport result;
    const QByteArray content = contentOf(folder.filePath(files.first()));
    const QString strText = QString::fromUtf8(content);
    result.lines = strText.isEmpty() ? QStringList() : strText.split(QLatin1Char('\n'));
    result.nLeftOut = found.constituents.size() - result.lines.size();
    result.strPath = QDir(directory).filePath(files.first());
    requireNothingOfTheUser(KW::getConfigDir(), result.strPath);
    if (mode == mend::RunMode::Do) {
        write(result.strPath, content);
    }
    return result;
}

ExitStatus listSectors(const Request& request)
{
    Table table { "sectors", "Sectors", { "code", "name", "stocks" } };
    const auto sectors = allSectors();
    for (const standalone::Sector& sector : sectors) {
        table.rows.append({ sector.code, sector.name, sector.constituents.size() });
    }
    print({ table }, request.format);
    return ExitStatus::Ok;
}

ExitStatus exportSectorCommand(const Request& request)
{
    const SectorExport result
        = exportSector(request.words[0], request.words[1], request.filter, request.mode);
    const QString strLine = result.strPath
        + QStringLiteral(": %1 lines, %2 stocks left out by the filter")
              .arg(result.lines.size())
              .arg(result.nLeftOut);
    if (request.format == Format::Json) {
        print({ { "export",
                  {},
                  { "file", "lines", "leftOut" },
                  { { result.strPath, result.lines.size(), result.nLeftOut } },
                  TableShape::One } },
              request.format);
    }
    if (request.isDryRun()) {
        printLine("would write " + strLine);
    } else {
        printDone(strLine);
    }
    return ExitStatus::Ok;
}
