#include "librarytest.h"

#include <format/sections.h>

// The table of the file's sections against what else tells of them: the schema, the README, what a
// save writes.
class tst_sections : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void theSchemaHasTheSameSections();
    void theReadmeHasTheSameSections();
    void aSaveWritesThemInThisOrder();
    void whatIsReadIsWritten();
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

QTEST_GUILESS_MAIN(tst_sections)
#include "tst_sections.moc"
