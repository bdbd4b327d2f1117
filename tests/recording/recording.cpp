#include "recording.h"

#include "platform/commonutil.h"
#include "platform/environment.h"
#include "platform/indexutil.h"
#include "platform/mvcommon.h"
#include "platform/orderservice.h"
#include "platform/specialstrategy.h"

#include <QFile>
#include <QTextCodec>

#include <atomic>
#include <mutex>

log4cxx::LoggerPtr g_RXStdLogger;

template class utils::CSingletonT<KW::CSectorManager>;
template class utils::CSingletonT<KW::CFormulaOperateManager>;
template class utils::CSingletonT<KW::CExtendDataManager>;
template class utils::CSingletonT<KW::CExternalDataManager>;
template class utils::CSingletonT<KW::CWindDataManager>;
template class utils::CSingletonT<KW::CStrategyTradeManager>;
template class utils::CSingletonT<KW::CDrawGraphManager>;
template class utils::CSingletonT<KW::CFormulaHistoryDataManager>;
template class utils::CSingletonT<KW::CFormulaManager>;
template class utils::CSingletonT<KW::CStockManager>;
template class utils::CManualSingletonT<KW::COrderService>;
template class utils::CManualSingletonT<KW::CSpecialStrategyManager>;

namespace recording {

namespace {

struct Record {
    std::mutex mutex;
    std::vector<QString> calls; // not shared with those that ask for a copy
    Answers answers;
    std::atomic<int> nLiveTrees { 0 };
};

Record& theRecord()
{
    static Record s_record;
    return s_record;
}

QString shown(const std::string& text)
{
    return QString::fromStdString(text);
}

void recordLoad(const char* pszOperation, const QDomElement& root)
{
    record(QStringLiteral("%1(%2)").arg(pszOperation, root.isNull() ? "null" : root.tagName()));
}

// Leaves its name in the element, so that the file shows who filled what.
void recordSave(const char* pszOperation, QDomElement& element, QDomDocument& doc)
{
    const bool bAttached = !element.parentNode().isNull();
    record(QStringLiteral("%1(%2%3)")
               .arg(pszOperation, element.tagName(), bAttached ? " attached" : ""));
    element.appendChild(doc.createElement("by")).toElement().setAttribute("who", pszOperation);
}

class CNamedTree : public MV::ILayoutElement {
public:
    explicit CNamedTree(const QDomElement& element)
        : m_strTag(element.tagName())
    {
        ++theRecord().nLiveTrees;
    }
    CNamedTree(const CNamedTree&) = delete;
    CNamedTree& operator=(const CNamedTree&) = delete;
    ~CNamedTree() override { --theRecord().nLiveTrees; }

    void toXml(QDomElement& parent, QDomDocument& doc) const override
    {
        record(QStringLiteral("ILayoutElement::toXml(%1)").arg(parent.tagName()));
        parent.appendChild(doc.createElement(m_strTag));
    }

private:
    QString m_strTag;
};

} // namespace

Answers& answers()
{
    return theRecord().answers;
}

QStringList calls()
{
    const std::lock_guard<std::mutex> lock(theRecord().mutex);
    const std::vector<QString>& all = theRecord().calls;
    return QStringList(all.begin(), all.end());
}

QStringList callsOf(const QString& prefix)
{
    QStringList found;
    for (const QString& call : calls()) {
        if (call.startsWith(prefix)) {
            found.append(call);
        }
    }
    return found;
}

void record(const QString& call)
{
    const std::lock_guard<std::mutex> lock(theRecord().mutex);
    theRecord().calls.push_back(call);
}

int liveTrees()
{
    return theRecord().nLiveTrees;
}

void reset()
{
    const std::lock_guard<std::mutex> lock(theRecord().mutex);
    theRecord().calls.clear();
    theRecord().answers = Answers();
}

} // namespace recording

using recording::answers;
using recording::record;
using recording::recordLoad;
using recording::recordSave;
using recording::shown;

namespace KW {

QString getConfigDir()
{
    return answers().configDir;
}

bool stdReadFile(std::string path, std::string& content)
{
    record(QStringLiteral("stdReadFile(%1)").arg(shown(path)));
    QFile file(QString::fromLocal8Bit(path.c_str()));
    const bool bOpen = file.open(QIODevice::ReadOnly);
    content = file.readAll().toStdString();
    return bOpen;
}

bool stdWriteFile(std::string path, std::string& content, std::string mode)
{
    const QString strPath = QTextCodec::codecForName("GBK")->toUnicode(path.c_str());
    record(QStringLiteral("stdWriteFile(%1,%2)").arg(strPath, shown(mode)));
    answers().onWrite(QStringLiteral("stdWriteFile"));
    if (!answers().writes.isEmpty()) {
        return answers().writes.takeFirst();
    }
    QFile file(strPath);
    const auto nSize = static_cast<qint64>(content.size());
    return file.open(QIODevice::WriteOnly) && file.write(content.data(), nSize) == nSize
        && file.flush();
}

bool QWriteFile(QString& path, QString& content)
{
    record(QStringLiteral("QWriteFile(%1,%2)").arg(path, content));
    return !answers().writes.isEmpty() && answers().writes.takeFirst();
}

void CSectorManager::loadSettings(QDomElement& root)
{
    recordLoad("CSectorManager::loadSettings", root);
}

void CSectorManager::saveSettings()
{
    record("CSectorManager::saveSettings()");
}

void CSectorManager::addStockListToSector(
    QList<std::shared_ptr<rxservice::CInstrumentDetail>>& stocks)
{
    QStringList names;
    for (const auto& pDetail : stocks) {
        names.append(pDetail ? shown(pDetail->code) : QStringLiteral("null"));
    }
    record(QStringLiteral("CSectorManager::addStockListToSector(%1)").arg(names.join(',')));
}

void CFormulaOperateManager::loadSettings(QDomElement& root)
{
    recordLoad("CFormulaOperateManager::loadSettings", root);
}

void CFormulaOperateManager::saveSettings(QDomElement& element, QDomDocument& doc)
{
    recordSave("CFormulaOperateManager::saveSettings", element, doc);
}

void CFormulaOperateManager::loadGroupIndexSettings(QDomElement& root)
{
    recordLoad("CFormulaOperateManager::loadGroupIndexSettings", root);
}

void CFormulaOperateManager::saveGroupIndexSettings(QDomElement& element, QDomDocument& doc)
{
    recordSave("CFormulaOperateManager::saveGroupIndexSettings", element, doc);
}

void CExtendDataManager::loadSettings(QDomElement& root)
{
    recordLoad("CExtendDataManager::loadSettings", root);
}

void CExtendDataManager::saveSettings(QDomElement& element, QDomDocument& doc)
{
    recordSave("CExtendDataManager::saveSettings", element, doc);
}

void CExternalDataManager::loadSettings(QDomElement& root)
{
    recordLoad("CExternalDataManager::loadSettings", root);
}

void CExternalDataManager::saveSettings(QDomElement& element, QDomDocument& doc)
{
    recordSave("CExternalDataManager::saveSettings", element, doc);
}

void CWindDataManager::loadSettings(QDomElement& root)
{
    recordLoad("CWindDataManager::loadSettings", root);
}

void CWindDataManager::saveSettings(QDomElement& element, QDomDocument& doc)
{
    recordSave("CWindDataManager::saveSettings", element, doc);
}

void CStrategyTradeManager::loadSettings(QDomElement& root)
{
    recordLoad("CStrategyTradeManager::loadSettings", root);
}

void CStrategyTradeManager::saveSettings(QDomElement& element, QDomDocument& doc)
{
    recordSave("CStrategyTradeManager::saveSettings", element, doc);
}

void CStrategyTradeManager::loadAlgoSettings(QDomElement& root)
{
    recordLoad("CStrategyTradeManager::loadAlgoSettings", root);
}

void CStrategyTradeManager::saveAlgoSettings(QDomElement& element, QDomDocument& doc, bool& omitted)
{
    recordSave(omitted ? "saveAlgoSettings, flag true" : "CStrategyTradeManager::saveAlgoSettings",
               element, doc);
    omitted = answers().algoOmitted;
}

void CDrawGraphManager::loadSettings(QDomElement& root)
{
    recordLoad("CDrawGraphManager::loadSettings", root);
}

void CDrawGraphManager::saveSettings(QDomElement& element, QDomDocument& doc)
{
    recordSave("CDrawGraphManager::saveSettings", element, doc);
}

void COrderService::loadSettings(QDomElement& root)
{
    recordLoad("COrderService::loadSettings", root);
}

void COrderService::saveSettings(QDomElement& element, QDomDocument& doc)
{
    recordSave("COrderService::saveSettings", element, doc);
}

void CSpecialStrategyManager::loadSettings(QDomElement& root)
{
    recordLoad("CSpecialStrategyManager::loadSettings", root);
}

void CSpecialStrategyManager::saveSettings(QDomElement& element, QDomDocument& doc)
{
    recordSave("CSpecialStrategyManager::saveSettings", element, doc);
}

void CFormulaHistoryDataManager::loadTradeStrategyHistoryData()
{
    record("CFormulaHistoryDataManager::loadTradeStrategyHistoryData()");
}

void CFormulaManager::setOptionSettings(std::map<std::string, int>& settings)
{
    QStringList pairs;
    for (const auto& [name, nCount] : settings) {
        pairs.append(QStringLiteral("%1 %2").arg(shown(name)).arg(nCount));
    }
    record(QStringLiteral("CFormulaManager::setOptionSettings(%1)").arg(pairs.join(", ")));
}

void CStockManager::insertCustomDetail(const QString& key,
                                       std::shared_ptr<rxservice::CInstrumentDetail> pDetail)
{
    record(
        QStringLiteral("CStockManager::insertCustomDetail(%1,%2)").arg(key, shown(pDetail->name)));
}

std::shared_ptr<rxservice::CInstrumentDetail> CStockManager::getInstrumentDetail(const QString& key)
{
    record(QStringLiteral("CStockManager::getInstrumentDetail(%1)").arg(key));
    return answers().details.value(key);
}

bool CStockManager::getSectorStock(const std::string& sector,
                                   std::vector<se::RPCSectorStock>& stocks)
{
    record(QStringLiteral("CStockManager::getSectorStock(%1)").arg(shown(sector)));
    stocks = answers().sectorStocks;
    return false;
}

} // namespace KW

namespace utils {

int safeUtf82Gbk(std::string& text)
{
    record(QStringLiteral("safeUtf82Gbk(%1)").arg(shown(text)));
    text = QTextCodec::codecForName("GBK")->fromUnicode(shown(text)).toStdString();
    return 0;
}

Configuration::Configuration(std::string path, bool flag)
    : m_strPath(std::move(path))
{
    record(QStringLiteral("Configuration(%1,%2)").arg(shown(m_strPath), flag ? "true" : "false"));
}

bool Configuration::load(std::string path)
{
    record(QStringLiteral("Configuration::load(%1)").arg(shown(path)));
    return false;
}

int Configuration::readInt(std::string section, std::string key, int defaultValue)
{
    record(QStringLiteral("Configuration::readInt(%1,%2,%3)")
               .arg(shown(section), shown(key))
               .arg(defaultValue));
    return answers().displaySwitch;
}

} // namespace utils

namespace MV {

QDomElement getSubElement(const QDomElement& parent, QString name)
{
    return answers().subElement ? answers().subElement(parent, name)
                                : parent.elementsByTagName(name).item(0).toElement();
}

QString sToQs(const std::string& bytes)
{
    return QString::fromUtf8(bytes.data(), static_cast<int>(bytes.size()));
}

QString formatDoubleNumber(double value, int precision, int flags, bool flag, QString invalidText)
{
    record(QStringLiteral("formatDoubleNumber(%1,%2,%3,%4)")
               .arg(precision)
               .arg(flags)
               .arg(flag ? "true" : "false", invalidText));
    return QString::number(value, 'f', precision);
}

ILayoutElement* ILayoutElement::fromXml(QDomElement& element)
{
    record(QStringLiteral("ILayoutElement::fromXml(%1)")
               .arg(element.isNull() ? QStringLiteral("null") : element.tagName()));
    return element.isNull() ? nullptr : std::make_unique<recording::CNamedTree>(element).release();
}

} // namespace MV

namespace se {

int writeConfig(const std::string& key, const std::string& value)
{
    record(QStringLiteral("writeConfig(%1,%2)").arg(shown(key), shown(value)));
    answers().onWrite(QStringLiteral("writeConfig"));
    return answers().settingsStored ? 0 : 7;
}

int writeConfig(const std::string& section, const std::string& key, const std::string& value,
                bool flag)
{
    record(QStringLiteral("writeConfig(%1,%2,%3,%4)")
               .arg(shown(section), shown(key), shown(value), flag ? "true" : "false"));
    return answers().settingsStored ? 0 : 7;
}

int readConfig(const std::string& section, const std::string& key, std::string& value, bool flag)
{
    record(QStringLiteral("readConfig(%1,%2,%3)")
               .arg(shown(section), shown(key), flag ? "true" : "false"));
    const auto it = answers().settings.find(key);
    if (it == answers().settings.end()) {
        value = "garbage";
        return 7;
    }
    value = it->second;
    return 0;
}

} // namespace se
