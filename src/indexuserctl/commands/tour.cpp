#include "commands/difftable.h"
#include "commands/edit.h"
#include "commands/sectors.h"
#include "commands/shownuser.h"
#include "commands/wholefile.h"
#include "failure.h"

#include <indexuser/cuserconfigmanager.h>
#include <indexuser/servicerecords.h>
#include <inspect/optionvalues.h>
#include <inspect/screens.h>
#include <platform/filenames.h>
#include <standalone/standalone.h>

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>

namespace {

using inspect::LayoutSide;
using inspect::UserRecords;

constexpr int c_nNewListType = 9;

void copyFile(const QString& name, const QString& from, const QString& to)
{
    QFile file(QDir(from).filePath(name));
    if (!file.copy(QDir(to).filePath(name))) {
        throw CFailure(ExitStatus::InputOutput,
                       QStringLiteral("%1: %2").arg(file.fileName(), file.errorString()));
    }
}

void copyUser(const QString& from, const QString& to)
{
    copyFile(KW::c_szLiveFile, from, to);
    const QString strSectors = KW::c_szSectorsFile;
    if (QFile::exists(QDir(from).filePath(strSectors))) {
        copyFile(strSectors, from, to);
    }
}

void printLoaded(const UserRecords& records, Format format)
{
    Table table { "loaded", "Loaded", { "held", "count" } };
    table.rows = {
        { "options", inspect::optionNames().size() },
        { "custom stock lists", records.stocks.size() },
        { "windows", inspect::windowsOf(records).size() },
        { "quote templates", inspect::templatesOf(records, LayoutSide::Quote).size() },
        { "trade templates", inspect::templatesOf(records, LayoutSide::Trade).size() },
        { "sections of other managers", records.sections.size() },
    };
    print({ table }, format);
}

void moveFirstWindow(KW::CPanelGroupLayoutConfig& layouts)
{
    KW::CLayoutWindow window = layouts.getQuoteGroupSetting().m_windows.value(0);
    const QPoint from = window.m_rect.topLeft();
    window.m_rect = QRect(120, 80, 1280, 720);
    layouts.updateQuotePanelSet(window);
    printLine(QStringLiteral("  quote window of panel group %1: %2,%3 -> %4,%5")
                  .arg(window.m_nPanelGroupId)
                  .arg(from.x())
                  .arg(from.y())
                  .arg(window.m_rect.left())
                  .arg(window.m_rect.top()));
}

void setRefreshTime(KW::UserConfigInterface& service)
{
    KW::paramSettingForClient options = service.getParamSettingForClient();
    const int nBefore = options.reportRefreshTime;
    options.reportRefreshTime = nBefore == 750 ? 500 : 750;
    service.setParamSettingForClient(options);
    printLine(QStringLiteral("  option reportRefreshTime: %1 -> %2")
                  .arg(nBefore)
                  .arg(options.reportRefreshTime));
}

void addStockList(KW::UserConfigInterface& service)
{
    KW::CustomStockMap stocks;
    service.getCustomStockMap(stocks);
    for (const auto& [pszCode, pszName] :
         { std::pair { "601012", "隆基绿能" }, std::pair { "600900", "长江电力" } }) {
        auto pDetail = std::make_shared<rxservice::CInstrumentDetail>();
        pDetail->market = "SH";
        pDetail->code = pszCode;
        pDetail->name = pszName;
        stocks[c_nNewListType].append(pDetail);
    }
    service.setCustomStockMap(stocks);
    printLine(QStringLiteral("  stock list %1: two stocks").arg(c_nNewListType));
}

void printLog(const QString& path)
{
    const auto lines = contentOf(path).split('\n');
    for (const QByteArray& line : lines) {
        if (!line.isEmpty()) {
            printLine(QStringLiteral("  ") + QString::fromUtf8(line));
        }
    }
}

void printFiles(const QString& directory, Format format)
{
    Table table { "left", "Files left", { "file", "bytes" } };
    QDirIterator files(directory, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        files.next();
        table.rows.append(
            { QDir(directory).relativeFilePath(files.filePath()), files.fileInfo().size() });
    }
    print({ table }, format);
}

UserRecords changeAndSave(const QVector<KW::ElementTree>& sections, Format format)
{
    KW::UserConfigInterface& service = *KW::UserConfigFactory::getIndexUserConfig();
    service.loadSettings();
    printLoaded(KW::recordsOf(service, sections), format);

    printText("\nChanged\n");
    moveFirstWindow(*service.getLayoutConfig());
    setRefreshTime(service);
    addStockList(service);
    UserRecords expected = inspect::savedForm(KW::recordsOf(service, sections));
    if (!mend::saveAndWait(service)) {
        throw CFailure(ExitStatus::InputOutput, QStringLiteral("the save does not end"));
    }
    return expected;
}

UserRecords loadAnew(const Request& request)
{
    utils::CSingletonT<KW::CUserConfigManager>::release();
    standalone::forgetAll();
    KW::UserConfigInterface& service = *KW::UserConfigFactory::getIndexUserConfig();
    service.loadSettings();
    return KW::recordsOf(service, KW::otherSections(liveFile(request).document));
}

ExitStatus compare(const Request& request, const UserRecords& expected, const UserRecords& found)
{
    const QVector<inspect::Difference> differences = inspect::differences(expected, found);
    Table table { "compared", "Read back by a new instance", { "part", "state" } };
    const auto parts = shownParts();
    for (const QString& part : parts) {
        const bool bDiffers = std::any_of(
            differences.begin(), differences.end(),
            [&](const inspect::Difference& each) { return KW::partName(each.part) == part; });
        table.rows.append({ part, bDiffers ? "DIFFERS" : "same" });
    }
    print({ table }, request.format);
    if (differences.isEmpty()) {
        return ExitStatus::Ok;
    }
    print({ diffTable(request, differences, "written", "read") }, request.format);
    return ExitStatus::Negative;
}

// The first sector, without its lighter half.
void showExport(const QString& directory)
{
    const QVector<standalone::Sector> sectors
        = standalone::readSectors(standalone::sectorsFile()).sectors;
    if (sectors.isEmpty() || sectors.first().constituents.isEmpty()) {
        return;
    }
    const standalone::Sector& sector = sectors.first();
    const QString strFilter
        = QStringLiteral("%1=%2,1|绝对权重|2|0|%3")
              .arg(sector.code, sector.name)
              .arg(sector.constituents[sector.constituents.size() / 2].absoluteWeight);
    const SectorExport result = exportSector(sector.code, directory, strFilter, mend::RunMode::Do);
    printLine();
    printLine(QStringLiteral("Exported sector %1, filter %2").arg(sector.code, strFilter));
    printLine(QStringLiteral("  %1: %2 lines, %3 stocks left out")
                  .arg(QDir(directory).relativeFilePath(result.strPath))
                  .arg(result.lines.size())
                  .arg(result.nLeftOut));
    const auto lines = result.lines.mid(0, 3);
    for (const QString& line : lines) {
        printLine(QStringLiteral("  ") + line);
    }
}

} // namespace

ExitStatus tour(const Request& request)
{
    const QTemporaryDir folder;
    if (!folder.isValid()) {
        throw CFailure(ExitStatus::InputOutput, folder.errorString());
    }
    printLine(QStringLiteral("The road of one change, on a copy of %1").arg(request.strConfigDir));
    const auto sections = KW::otherSections(liveFile(request).document);
    copyUser(request.strConfigDir, folder.path());
    Request onCopy = request;
    onCopy.strConfigDir = folder.path();
    standalone::setConfigDir(folder.path());
    const QString strLog = folder.filePath(QStringLiteral("indexuser.log"));
    if (!standalone::logToFile(strLog)) {
        throw CFailure(ExitStatus::InputOutput, QStringLiteral("%1: cannot write").arg(strLog));
    }

    const UserRecords expected = changeAndSave(sections, request.format);
    printText("\nLog of the save\n");
    printLog(strLog);
    printFiles(folder.path(), request.format);
    const ExitStatus status = compare(onCopy, expected, loadAnew(onCopy));
    if (QFile::exists(standalone::sectorsFile())) {
        showExport(folder.path());
    }
    printText(status == ExitStatus::Ok ? "\nAll came back.\n" : "\nNOT all came back.\n");
    return status;
}
