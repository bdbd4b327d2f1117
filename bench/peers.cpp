#include "peers.h"

#include "subjects.h"

#include <KConfig>
#include <KConfigGroup>

#include <QFile>
#include <QSet>
#include <QSettings>

#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>

#include <sstream>

namespace bench {

namespace {

// KConfig and ini files have groups and keys; the last step of a path is the key.
QPair<QString, QString> groupAndKey(const QString& path)
{
    const int nSlash = path.lastIndexOf('/');
    return { path.left(nSlash), path.mid(nSlash + 1) };
}

int elementCount(const boost::property_tree::ptree& tree)
{
    int nCount = 0;
    for (const auto& [strName, child] : tree) {
        nCount += strName == "<xmlattr>" || strName == "<xmltext>" ? 0 : 1 + elementCount(child);
    }
    return nCount;
}

void qsettingsWrite(const QString& path, const Settings& settings)
{
    QFile::remove(path);
    QSettings store(path, QSettings::IniFormat);
    store.setIniCodec("UTF-8");
    for (const auto& [strKey, strValue] : settings) {
        store.setValue(strKey, strValue);
    }
    store.sync();
    require(store.status() == QSettings::NoError, "QSettings did not write");
}

int qsettingsRead(const QString& path)
{
    QSettings store(path, QSettings::IniFormat);
    store.setIniCodec("UTF-8");
    int nRead = 0;
    for (const QString& key : store.allKeys()) {
        nRead += store.value(key).toString().isNull() ? 0 : 1;
    }
    return nRead;
}

void kconfigWrite(const QString& path, const Settings& settings)
{
    QFile::remove(path);
    KConfig store(path, KConfig::SimpleConfig);
    for (const auto& [strPath, strValue] : settings) {
        const auto [strGroup, strKey] = groupAndKey(strPath);
        KConfigGroup(&store, strGroup).writeEntry(strKey, strValue);
    }
    require(store.sync(), "KConfig did not write");
}

int kconfigRead(const QString& path)
{
    const KConfig store(path, KConfig::SimpleConfig);
    int nRead = 0;
    for (const QString& group : store.groupList()) {
        nRead += store.entryMap(group).size();
    }
    return nRead;
}

void ptreeWrite(const QString& path, const Settings& settings)
{
    boost::property_tree::ptree tree;
    for (const auto& [strKey, strValue] : settings) {
        tree.put(boost::property_tree::ptree::path_type(strKey.toStdString(), '/'),
                 strValue.toStdString());
    }
    std::ostringstream text;
    boost::property_tree::write_xml(
        text, tree, boost::property_tree::xml_writer_make_settings<std::string>(' ', 4));
    writeDurably(path, QByteArray::fromStdString(text.str()));
}

int ptreeRead(const QString& path)
{
    return ptreeElements(path);
}

int allOf(const Settings& settings)
{
    return settings.size();
}

// A path is an element for each of its steps but the last, which is an attribute or a text.
int elementsOf(const Settings& settings)
{
    QSet<QString> elements;
    for (const auto& [strKey, strValue] : settings) {
        for (int n = strKey.lastIndexOf('/'); n > 0; n = strKey.lastIndexOf('/', n - 1)) {
            elements.insert(strKey.left(n));
        }
    }
    return elements.size() + settings.size();
}

struct ElementCounter : pugi::xml_tree_walker {
    bool for_each(pugi::xml_node& node) override
    {
        nCount += node.type() == pugi::node_element ? 1 : 0;
        return true;
    }

    int nCount = 0;
};

} // namespace

const Peer c_qsettings { "QSettings", qsettingsWrite, qsettingsRead, allOf };
const Peer c_kconfig { "KConfig", kconfigWrite, kconfigRead, allOf };
const Peer c_ptree { "PropertyTree", ptreeWrite, ptreeRead, elementsOf };

int ptreeElements(const QString& path)
{
    boost::property_tree::ptree tree;
    boost::property_tree::read_xml(path.toStdString(), tree,
                                   boost::property_tree::xml_parser::trim_whitespace);
    return elementCount(tree);
}

CPugiTree::CPugiTree(const QString& path)
{
    require(
        m_doc.load_file(path.toUtf8().constData(), pugi::parse_default | pugi::parse_declaration),
        "pugixml did not read");
}

int CPugiTree::elementCount() const
{
    ElementCounter counter;
    pugi::xml_node(m_doc).traverse(counter);
    return counter.nCount;
}

void CPugiTree::save(const QString& path) const
{
    std::ostringstream text;
    m_doc.save(text, "    ", pugi::format_default, pugi::encoding_utf8);
    saveBytes(QByteArray::fromStdString(text.str()), path);
}

int pugiElements(const QString& path)
{
    return CPugiTree(path).elementCount();
}

} // namespace bench
