#include "commands.h"

#include "failure.h"
#include "filecontent.h"
#include "sectors.h"
#include "texttable.h"
#include "userstate.h"

#include <indexuser/cuserconfigmanager.h>
#include <indexuser/optionsettings.h>
#include <inspect/treefields.h>
#include <standalone/standalone.h>

#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>

namespace {

constexpr int c_nSaveTimeoutMs = 30000;
constexpr int c_nNewListType = 9;

// What the second load has to bring back.
struct CExpected {
    CUserState state;
    QDomDocument file;
};

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
    copyFile(QStringLiteral("indexUserConfig.xml"), from, to);
    const QString strSectors = QStringLiteral("sectors.json");
    if (QFile::exists(QDir(from).filePath(strSectors))) {
        copyFile(strSectors, from, to);
    }
}

void printSummary(const CUserState& state)
{
    const QDomElement root = state.layouts.documentElement();
    CTextTable table({ "held", "count" });
    table.add({ "options", QString::number(KW::optionTable().size()) });
    table.add({ "custom stock lists", QString::number(state.stocks.size()) });
    for (QDomElement section = root.firstChildElement(); !section.isNull();
         section = section.nextSiblingElement()) {
        table.add({ section.tagName(), QString::number(section.childNodes().size()) });
    }
    table.print("Loaded");
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

void setOption(KW::UserConfigInterface& service)
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
    printLine(QStringLiteral("  stock list %1: %2")
                  .arg(QString::number(c_nNewListType), stockText(stocks[c_nNewListType])));
}

void saveAndWait(KW::UserConfigInterface& service)
{
    QElapsedTimer timer;
    timer.start();
    service.saveSettings();
    while (!service.getSaveSuccess()) {
        if (timer.hasExpired(c_nSaveTimeoutMs)) {
            throw CFailure(ExitStatus::InputOutput, QStringLiteral("the save does not end"));
        }
        QThread::msleep(1);
    }
}

void printLog(const QString& path)
{
    for (const QByteArray& line : contentOf(path).split('\n')) {
        if (!line.isEmpty()) {
            printLine(QStringLiteral("  ") + QString::fromUtf8(line));
        }
    }
}

void printFiles(const QString& directory)
{
    CTextTable table({ "file", "bytes" });
    QDirIterator files(directory, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        files.next();
        table.add({ QDir(directory).relativeFilePath(files.filePath()),
                    QString::number(files.fileInfo().size()) });
    }
    table.print("Files left");
}

class CComparison {
public:
    void add(const QString& field, const QString& expected, const QString& found)
    {
        addShown(field, expected == found, expected, found);
    }

    void addShown(const QString& field, bool same, const QString& expected, const QString& found)
    {
        m_nDifferences += same ? 0 : 1;
        m_table.add({ field, same ? "same" : "DIFFERS", expected, same ? QString() : found });
    }

    void addTree(const QString& field, const QDomElement& expected, const QDomElement& found)
    {
        const inspect::TreeFields fields
            = inspect::fieldsOf(expected, inspect::FieldNames::ByPosition);
        QStringList different;
        for (const inspect::Difference& difference : inspect::differences(
                 fields, inspect::fieldsOf(found, inspect::FieldNames::ByPosition))) {
            different.append(inspect::toText(difference));
        }
        addShown(field, different.isEmpty(), QStringLiteral("%1 values").arg(fields.size()),
                 different.join("; "));
    }

    ExitStatus print() const
    {
        m_table.print("Read back by a new instance");
        return m_nDifferences == 0 ? ExitStatus::Ok : ExitStatus::Negative;
    }

private:
    CTextTable m_table { { "field", "", "written", "read" } };
    int m_nDifferences = 0;
};

void compareOptions(CComparison& comparison, const CUserState& expected, const CUserState& found)
{
    const auto& rows = KW::optionTable();
    for (int i = 0; i < static_cast<int>(rows.size()); ++i) {
        const KW::OptionRow& row = rows[static_cast<std::size_t>(i)];
        if (row.saved == KW::OptionSaved::Yes) {
            comparison.addShown(row.strAttribute,
                                optionText(expected.options, i) == optionText(found.options, i),
                                shownOption(expected.options, i), shownOption(found.options, i));
        }
    }
}

void compareStocks(CComparison& comparison, const CUserState& expected, const CUserState& found)
{
    QList<int> types = expected.stocks.keys();
    for (const int nType : found.stocks.keys()) {
        if (!types.contains(nType)) {
            types.append(nType);
        }
    }
    for (const int nType : types) {
        comparison.add(QStringLiteral("stock list %1").arg(nType),
                       stockText(expected.stocks.value(nType)),
                       stockText(found.stocks.value(nType)));
    }
}

void compareLayouts(CComparison& comparison, const CUserState& expected, const CUserState& found)
{
    const QDomElement root = found.layouts.documentElement();
    for (QDomElement section = expected.layouts.documentElement().firstChildElement();
         !section.isNull(); section = section.nextSiblingElement()) {
        QDomElement other = root.firstChildElement(section.tagName()).firstChildElement();
        int nNumber = 0;
        for (QDomElement child = section.firstChildElement(); !child.isNull();
             child = child.nextSiblingElement()) {
            comparison.addTree(
                QStringLiteral("%1 %2").arg(section.tagName(), QString::number(++nNumber)), child,
                other);
            other = other.nextSiblingElement();
        }
    }
}

ExitStatus compare(const CExpected& expected, const CExpected& found)
{
    CComparison comparison;
    compareOptions(comparison, expected.state, found.state);
    comparison.add("function tree expanded", expected.state.bFunctionTreeExpand ? "1" : "0",
                   found.state.bFunctionTreeExpand ? "1" : "0");
    compareStocks(comparison, expected.state, found.state);
    compareLayouts(comparison, expected.state, found.state);
    comparison.addTree("all layouts", expected.state.layouts.documentElement(),
                       found.state.layouts.documentElement());
    const QDomElement root = found.file.documentElement();
    for (const QString& name : foreignSections(expected.file)) {
        comparison.addTree(name, expected.file.documentElement().firstChildElement(name),
                           root.firstChildElement(name));
    }
    return comparison.print();
}

CExpected changeAndSave(const QDomDocument& file)
{
    KW::UserConfigInterface* const pService = KW::UserConfigFactory::getIndexUserConfig();
    pService->loadSettings();
    printSummary(stateOf(*pService));

    printLine("\nChanged");
    moveFirstWindow(*pService->getLayoutConfig());
    setOption(*pService);
    addStockList(*pService);
    CExpected expected { stateOf(*pService), file };
    saveAndWait(*pService);
    return expected;
}

CExpected loadAnew(const QString& directory)
{
    utils::CSingletonT<KW::CUserConfigManager>::release();
    standalone::forgetAll();
    KW::UserConfigInterface* const pService = KW::UserConfigFactory::getIndexUserConfig();
    pService->loadSettings();
    return { stateOf(*pService), readUserFile(directory) };
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
    const SectorExport result = exportSector(sector.code, directory, strFilter);
    printLine(QStringLiteral("\nExported sector %1, filter %2").arg(sector.code, strFilter));
    printLine(QStringLiteral("  %1: %2 lines, %3 stocks left out")
                  .arg(QDir(directory).relativeFilePath(result.strPath))
                  .arg(result.lines.size())
                  .arg(result.nLeftOut));
    for (const QString& line : result.lines.mid(0, 3)) {
        printLine(QStringLiteral("  ") + line);
    }
}

} // namespace

ExitStatus tour(const QString& configDir)
{
    const QTemporaryDir folder;
    if (!folder.isValid()) {
        throw CFailure(ExitStatus::InputOutput, folder.errorString());
    }
    printLine(QStringLiteral("The road of one change, on a copy of %1").arg(configDir));
    const QDomDocument file = readUserFile(configDir);
    copyUser(configDir, folder.path());
    standalone::setConfigDir(folder.path());
    const QString strLog = folder.filePath(QStringLiteral("indexuser.log"));
    if (!standalone::logToFile(strLog)) {
        throw CFailure(ExitStatus::InputOutput, QStringLiteral("%1: cannot write").arg(strLog));
    }

    const CExpected expected = changeAndSave(file);
    printLine("\nLog of the save");
    printLog(strLog);
    printFiles(folder.path());
    const ExitStatus status = compare(expected, loadAnew(folder.path()));
    if (QFile::exists(standalone::sectorsFile())) {
        showExport(folder.path());
    }
    printLine(status == ExitStatus::Ok ? "\nAll came back." : "\nNOT all came back.");
    return status;
}
