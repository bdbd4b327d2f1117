#include "librarytest.h"

#include <format/sections.h>
#include <format/sectorfiltertext.h>
#include <platform/filenames.h>

#include <QDirIterator>

// The table of the file's sections against what else tells of them: the schema, the README, what a
// save writes.
class tst_sections : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void theSchemaHasTheSameSections();
    void theReadmeHasTheSameSections();
    void aSaveWritesThemInThisOrder();
    void whatIsReadIsWritten();
    void everyNameIsToldOnce();
};

namespace {

QStringList names()
{
    QStringList names;
    for (const KW::Section& section : KW::sections()) {
        names.append(section.strName);
    }
    return names;
}

// As the README calls them.
QString ownerOf(const KW::Section& section)
{
    switch (section.owner) {
    case KW::SectionOwner::Layouts:
        return "layouts";
    case KW::SectionOwner::Managers:
        return "other modules";
    case KW::SectionOwner::Nobody:
        return "";
    case KW::SectionOwner::Service:
        break;
    }
    const bool bManager = section.strName == KW::c_szUserParams;
    return bManager                            ? "manager"
        : section.part == KW::UserPart::Stocks ? "custom stocks"
                                               : "options";
}

void addTags(const KW::ElementRule& rule, QStringList& tags)
{
    tags.append(rule.strTag);
    for (const KW::ElementRule& child : rule.children) {
        addTags(child, tags);
    }
}

// Of sections, and of all that is read in them.
QStringList tagNames()
{
    QStringList tags { KW::c_szRoot, KW::c_szSectorFilter, KW::c_szVersionId };
    for (const KW::Section& section : KW::sections()) {
        tags.append(section.strName);
        addTags(section.rule, tags);
    }
    tags.removeAll({});
    tags.removeDuplicates();
    return tags;
}

QStringList fileNames()
{
    return { KW::c_szLiveFile,     KW::c_szDatedCopyPrefix, KW::c_szLockFile,
             KW::c_szCopiesFolder, KW::c_szHistoryFolder,   KW::c_szSettingsFolder,
             KW::c_szSectorsFile,  KW::c_szMirrorKey };
}

QString withoutComments(QString source)
{
    return source.remove(QRegularExpression("//[^\n]*"));
}

} // namespace

void tst_sections::theSchemaHasTheSameSections()
{
    const QDomDocument schema = parsed(QString::fromUtf8(readFile(DOCS "/indexUserConfig.xsd")));
    // The root is the only element on its level.
    const QDomElement root = schema.documentElement().firstChildElement("xs:element");
    QCOMPARE(root.attribute("name"), QString(KW::c_szRoot));
    const QDomElement all = root.firstChildElement("xs:complexType").firstChildElement("xs:all");
    QStringList found;
    for (QDomElement each = all.firstChildElement("xs:element"); !each.isNull();
         each = each.nextSiblingElement("xs:element")) {
        found.append(each.attribute("name"));
        const KW::Section* const pSection = KW::findSection(found.last());
        const QString strType = each.attribute("type");
        QVERIFY2(pSection != nullptr, qPrintable(found.last()));
        QCOMPARE(strType == "open", pSection->owner == KW::SectionOwner::Managers);
    }
    QCOMPARE(found, names());
}

void tst_sections::theReadmeHasTheSameSections()
{
    const QString strPage = QString::fromUtf8(readFile(DOCS "/../README.md"));
    const QString strMap = strPage.section("## Map of the file", 1).section("\n## ", 0, 0);
    QMap<QString, QString> found;
    for (const QString& line : strMap.split('\n').filter(QRegularExpression("^\\| `"))) {
        const QStringList cells = line.split('|');
        for (const QString& name : cells[1].split(',')) {
            found.insert(name.trimmed().remove('`'), cells[3].trimmed());
        }
    }
    QMap<QString, QString> wanted;
    for (const KW::Section& section : KW::sections()) {
        wanted.insert(section.strName, ownerOf(section));
    }
    QCOMPARE(found, wanted);
}

void tst_sections::aSaveWritesThemInThisOrder()
{
    // Its manager leaves out a section of which it has nothing.
    writeLive("<ICUserConfigFile><strategyAlgoTrade a='1'/></ICUserConfigFile>");
    service().loadSettings();
    saveAndWait(service());
    const QDomDocument file = parsed(QString::fromUtf8(readFile(livePath())));
    QStringList found;
    for (QDomElement each = file.documentElement().firstChildElement(); !each.isNull();
         each = each.nextSiblingElement()) {
        found.append(each.tagName());
    }
    QCOMPARE(found, names());
}

void tst_sections::whatIsReadIsWritten()
{
    for (const KW::Section& section : KW::sections()) {
        QVERIFY2(section.read == nullptr || section.write != nullptr, qPrintable(section.strName));
        const bool bOwn = section.owner == KW::SectionOwner::Layouts
            || section.owner == KW::SectionOwner::Service;
        QCOMPARE(section.read != nullptr, bOwn);
    }
}

void tst_sections::everyNameIsToldOnce()
{
    static const QRegularExpression s_format("format/|platform/managersections.h");
    static const QRegularExpression s_files("platform/filenames.h");
    const QString strNames = (tagNames() + fileNames()).join('|').replace('.', "\\.");
    const QRegularExpression literal("\"[</]?(" + strNames + ")[ /]?\"");
    QMap<QString, QStringList> found;
    QDirIterator all(SOURCES, { "*.cpp", "*.h" }, QDir::Files, QDirIterator::Subdirectories);
    while (all.hasNext()) {
        const QString strPath = all.next();
        auto each = literal.globalMatch(withoutComments(QString::fromUtf8(readFile(strPath))));
        while (each.hasNext()) {
            found[each.next().captured(1)].append(QDir(SOURCES).relativeFilePath(strPath));
        }
    }
    for (const QString& tag : tagNames()) {
        const QStringList places = found.value(tag).filter(s_format);
        QVERIFY2(places.size() == 1, qPrintable(tag + ": " + found.value(tag).join(", ")));
    }
    for (const QString& name : fileNames()) {
        QVERIFY2(found.value(name).filter(s_files).size() == 1, qPrintable(name));
    }
    for (auto it = found.begin(); it != found.end(); ++it) {
        // What titles people read is not what a folder is called.
        const bool bTitle = it.key() == KW::c_szHistoryFolder || it.key() == KW::c_szSettingsFolder;
        for (const QString& place : it->filter(QRegularExpression("^(?!.*(format/|platform/))"))) {
            const bool bRead
                = place.startsWith("indexuserctl/") || place == "indexmodel/inspect/report.cpp";
            QVERIFY2(bTitle && bRead, qPrintable(it.key() + place));
        }
    }
}

QTEST_GUILESS_MAIN(tst_sections)
#include "tst_sections.moc"
