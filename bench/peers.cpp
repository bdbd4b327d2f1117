#include "peers.h"

#include "subjects.h"

#include <KConfig>
#include <KConfigGroup>

#include <QFile>
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

} // namespace

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

int ptreeElements(const QString& path)
{
    boost::property_tree::ptree tree;
    boost::property_tree::read_xml(path.toStdString(), tree,
                                   boost::property_tree::xml_parser::trim_whitespace);
    return elementCount(tree);
}

int ptreeRead(const QString& path)
{
    boost::property_tree::ptree tree;
    boost::property_tree::read_xml(path.toStdString(), tree,
                                   boost::property_tree::xml_parser::trim_whitespace);
    return static_cast<int>(tree.get_child("user").size());
}

} // namespace bench
