#include "librarytest.h"
#include "logcapture.h"
#include "recording.h"

#include "indexuser/userdocument.h"

namespace {

QString nested(int levels)
{
    return QString("<a>").repeated(levels) + QString("</a>").repeated(levels);
}

// Built from the inside: Qt looks for the document from every node that it appends to.
QDomDocument nestedDocument(int levels)
{
    QDomDocument doc;
    QDomElement top = doc.createElement("a");
    for (int i = 1; i < levels; ++i) {
        QDomElement parent = doc.createElement("a");
        parent.appendChild(top);
        top = parent;
    }
    doc.appendChild(top);
    return doc;
}

QString textOf(QDomDocument& doc)
{
    return QString::fromStdString(KW::userDocumentText(doc).strUtf8);
}

// The texts of an attribute and of a text node that were written and read again.
QStringList writtenAndRead(const QString& attribute, const QString& text)
{
    QDomDocument doc = parsed("<r/>");
    doc.documentElement().setAttribute("a", attribute);
    doc.documentElement().appendChild(doc.createTextNode(text));
    const KW::UserDocument file = KW::parseUserDocument(textOf(doc));
    const QDomElement root = file.document.documentElement();
    return { file.strError, root.attribute("a"), root.text() };
}

int depthOf(const QString& xml)
{
    int nDepth = 0;
    for (QDomElement element = parsed(xml).documentElement(); !element.isNull();
         element = element.firstChildElement()) {
        ++nDepth;
    }
    return nDepth;
}

} // namespace

class tst_userdocument : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void aWellFormedTextIsWhole();
    void aMalformedTextIsNotThereAtAll();
    void anErrorNamesItsPlace();
    void theDepthLimitIsExact();
    void depthIsThatOfElements_data();
    void depthIsThatOfElements();
    void aDocumentTypeIsNoObstacle_data();
    void aDocumentTypeIsNoObstacle();
    void anErrorBesideADocumentTypeIsNamed();
    void theDepthErrorNamesItsPlace_data();
    void theDepthErrorNamesItsPlace();
    void hostileDepthIsRefused_data();
    void hostileDepthIsRefused();
    void aTooDeepFileIsAMalformedFile();
    void unreadableCharactersAreDropped_data();
    void unreadableCharactersAreDropped();
    void allOtherCharactersGoThrough_data();
    void allOtherCharactersGoThrough();
    void elementsBelowTheLimitAreCut();
    void aHundredThousandLevelsAreCut();
    void theCutsAreNamed();
    void textBesideTheCutStays();
    void aDeepTreeInTheStoreDoesNotBreakASave();
};

void tst_userdocument::aWellFormedTextIsWhole()
{
    const KW::UserDocument file = KW::parseUserDocument("<a><b c=\"1\"/></a>");
    QVERIFY(file.isValid());
    QCOMPARE(file.document.toString(-1), QString("<a><b c=\"1\"/></a>"));
}

void tst_userdocument::aMalformedTextIsNotThereAtAll()
{
    for (const char* pszText : { "", "text", "<a>", "<a><b></a>", "<a/><a/>", "<a b=\"1/>" }) {
        const KW::UserDocument file = KW::parseUserDocument(pszText);
        QVERIFY2(!file.isValid(), pszText);
        QVERIFY2(file.document.documentElement().isNull(), pszText);
    }
}

void tst_userdocument::anErrorNamesItsPlace()
{
    const KW::UserDocument file = KW::parseUserDocument("<a>\n  <b>\n</a>");
    QCOMPARE(file.strError, QString("tag mismatch"));
    QCOMPARE(file.nLine, 3);
    QCOMPARE(file.nColumn, 4);
}

void tst_userdocument::theDepthLimitIsExact()
{
    QVERIFY(KW::parseUserDocument(nested(KW::c_nMaxDepth)).isValid());
    const KW::UserDocument file = KW::parseUserDocument(nested(KW::c_nMaxDepth + 1));
    QCOMPARE(file.strError, QString("elements are nested deeper than 512 levels"));
}

void tst_userdocument::depthIsThatOfElements_data()
{
    QTest::addColumn<QString>("piece");
    const QString strTags = QString("<x>").repeated(600);
    QTest::newRow("siblings") << QString("<x/>").repeated(600);
    QTest::newRow("closed siblings") << QString("<x></x>").repeated(600);
    QTest::newRow("comment") << "<!-- " + strTags + " -->";
    QTest::newRow("character data") << "<![CDATA[ " + strTags + " ]]>";
    QTest::newRow("instruction") << "<?pi " + strTags + " ?>";
    QTest::newRow("attributes") << "<x a='>' b=\"/>\" c='\"'/>"
            + QString("<y z='>'/>").repeated(600);
    QTest::newRow("blank before the slash") << QString("<x a='1' />").repeated(600);
}

void tst_userdocument::depthIsThatOfElements()
{
    QFETCH(QString, piece);
    QVERIFY(KW::parseUserDocument("<a>" + piece + "</a>").isValid());
    QVERIFY(!KW::parseUserDocument("<a>" + piece + nested(KW::c_nMaxDepth) + "</a>").isValid());
}

// What is read without a document type is read the same way with one.
void tst_userdocument::aDocumentTypeIsNoObstacle_data()
{
    QTest::addColumn<QString>("subset");
    QTest::addColumn<QString>("root");
    QTest::addColumn<QString>("read");
    const QString strMany = QString("<c>&e;</c>").repeated(600);
    QTest::newRow("none") << ""
                          << "<a><b/></a>"
                          << "<a><b/></a>";
    QTest::newRow("entities") << "[<!ENTITY e \"<b/>\"> <!-- ' -->]"
                              << "<a>" + strMany + "</a>"
                              << "<a>" + QString("<c><b/></c>").repeated(600) + "</a>";
    QTest::newRow("a prefix that nobody declares") << ""
                                                   << "<a><x:y/></a>"
                                                   << "<a><x:y/></a>";
    QTest::newRow("control characters") << ""
                                        << "<a b=\"\x01\">\x02</a>"
                                        << "<a b=\"\x01\">\x02</a>";
    QTest::newRow("an entity that nobody declares") << ""
                                                    << "<a><b/>&u;</a>"
                                                    << "<a><b/>&u;</a>";
    QTest::newRow("brackets at the limit") << "[<!ENTITY % p \"" + QString(512, '(') + "\">]"
                                           << "<a/>"
                                           << "<a/>";
    QTest::newRow("all of it at the limit")
        << ""
        << "<x:y>&u;\x01" + nested(511) + "</x:y>"
        << "<x:y>&u;\x01" + nested(511).replace("<a></a>", "<a/>") + "</x:y>";
    QTest::newRow("many brackets") << "[<!ELEMENT a (" + QString("(b)|").repeated(600) + "c)>]"
                                   << "<a/>"
                                   << "<a/>";
    QTest::newRow("brackets in texts") << "[<!-- ((( --><!ENTITY e ' (( '>]"
                                       << "<a>" + QString("(").repeated(600) + "</a>"
                                       << "<a>" + QString("(").repeated(600) + "</a>";
}

void tst_userdocument::aDocumentTypeIsNoObstacle()
{
    QFETCH(QString, subset);
    QFETCH(QString, root);
    QFETCH(QString, read);
    const KW::UserDocument file = KW::parseUserDocument("<!DOCTYPE a " + subset + ">" + root);
    QCOMPARE(file.strError, QString());
    QCOMPARE(file.error, KW::DocumentError::None);
    QString strText;
    QTextStream stream(&strText);
    file.document.documentElement().save(stream, -1);
    QCOMPARE(strText, read);
}

void tst_userdocument::anErrorBesideADocumentTypeIsNamed()
{
    const KW::UserDocument file = KW::parseUserDocument("<!DOCTYPE a>\n<a>\n  <x:y>\x01&u;\n</a>");
    QCOMPARE(file.strError, QString("tag mismatch"));
    QCOMPARE(file.error, KW::DocumentError::Malformed);
    QCOMPARE(file.nLine, 4);
    QCOMPARE(file.nColumn, 4);
}

void tst_userdocument::theDepthErrorNamesItsPlace_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("what");
    QTest::addColumn<QString>("place");
    const QString strLines = QString("<a>\n").repeated(511);
    const QString strRest = "<b><c><d/></c></b>" + QString("</a>").repeated(511);
    QTest::newRow("plain") << strLines + strRest << "elements"
                           << "512:6";
    QTest::newRow("document type") << "<!DOCTYPE a>\n" + strLines + strRest << "elements"
                                   << "513:6";
    QTest::newRow("entity") << "<!DOCTYPE a [<!ENTITY e '<b><c/></b>'>]>\n" + strLines + " &e;"
                            << "elements"
                            << "513:4";
    QTest::newRow("no well-formed text") << strLines + "<b><c x>"
                                         << ""
                                         << "512:8";
    QTest::newRow("content model") << "<!DOCTYPE a [\n<!ELEMENT a " + QString("(").repeated(600)
            + "b" + QString(")").repeated(600) + ">]><a/>"
                                   << "brackets of the document type"
                                   << "2:524";
}

void tst_userdocument::theDepthErrorNamesItsPlace()
{
    QFETCH(QString, text);
    QFETCH(QString, what);
    QFETCH(QString, place);
    const KW::UserDocument file = KW::parseUserDocument(text);
    const bool bDepth = !what.isEmpty();
    QCOMPARE(file.error, bDepth ? KW::DocumentError::TooDeep : KW::DocumentError::Malformed);
    QCOMPARE(file.strError,
             bDepth ? what + " are nested deeper than 512 levels" : "unexpected character");
    QCOMPARE(QString("%1:%2").arg(file.nLine).arg(file.nColumn), place);
    QVERIFY(file.document.isNull() || !file.document.hasChildNodes());
}

void tst_userdocument::hostileDepthIsRefused_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("open") << QString("<a>").repeated(100000);
    QTest::newRow("closed") << nested(100000);
    QTest::newRow("behind a quote in the document type")
        << "<!DOCTYPE a [<!ENTITY q \"<!--\">]>" + nested(100000) + "<!-- -->";
    QTest::newRow("behind an apostrophe in the document type")
        << "<!DOCTYPE a [<!ENTITY q \"<b '\">]>" + nested(100000) + "<!-- ' -->";
    QTest::newRow("in entities") << "<!DOCTYPE a [<!ENTITY d \"" + nested(400) + "\">]>"
            + QString("<a>").repeated(200) + "&d;" + QString("</a>").repeated(200);
    QTest::newRow("unbalanced entities") << "<!DOCTYPE a [<!ENTITY d \""
            + QString("<a>").repeated(300) + "\">]><a>" + QString("&d;").repeated(300) + "</a>";
    // Constructs that a stricter reader stops at, in front of what only the parser then follows.
    const QString strUnread = "<!DOCTYPE a [<!ENTITY d \"" + QString("<a>").repeated(500)
        + "\"><!ENTITY u \"<a>&d;\">]><a><x:y/>\x01&undeclared;";
    QTest::newRow("plain, behind what is not well-formed") << strUnread + nested(100000) + "</a>";
    QTest::newRow("entities, behind what is not well-formed")
        << strUnread + QString("&u;").repeated(300) + "</a>";
    const QString strOpen = QString("(").repeated(100000);
    const QString strBrackets = strOpen + "b" + QString(")").repeated(100000);
    QTest::newRow("content model") << "<!DOCTYPE a [<!ELEMENT a " + strBrackets + ">]><a/>";
    QTest::newRow("content model in a parameter entity")
        << "<!DOCTYPE a [<!ENTITY % p \"<!ELEMENT a " + strBrackets + ">\">%p;]><a/>";
    QTest::newRow("content model written in references")
        << "<!DOCTYPE a [<!ENTITY % p \"<!ELEMENT a "
            + QString(strBrackets).replace("(", "&#40;").replace(")", "&#x29;") + ">\">%p;]><a/>";
    QTest::newRow("content model begun in a parameter entity")
        << "<!DOCTYPE a [<!ENTITY % p \"<!ELEMENT a (\">%p;" + strBrackets + ")>]><a/>";
}

void tst_userdocument::hostileDepthIsRefused()
{
    QFETCH(QString, text);
    QVERIFY(!KW::parseUserDocument(text).isValid());
}

void tst_userdocument::aTooDeepFileIsAMalformedFile()
{
    writeLive(nested(50000).toUtf8());
    logcapture::expectErrors(1);
    service().loadSettings();
    QCOMPARE(logcapture::messages(),
             QStringList("[CUserConfigManager] loadSettings error: QDomDocument setContent error"));
    QCOMPARE(recording::callsOf("CFormulaOperateManager"),
             QStringList("CFormulaOperateManager::loadSettings(null)"));
}

void tst_userdocument::unreadableCharactersAreDropped_data()
{
    QTest::addColumn<QString>("character");
    QTest::newRow("NUL") << QString(QChar(0));
    QTest::newRow("U+FFFE") << QString(QChar(0xfffe));
    QTest::newRow("U+FFFF") << QString(QChar(0xffff));
    QTest::newRow("high surrogate") << QString(QChar(0xd800));
    QTest::newRow("low surrogate") << QString(QChar(0xdc00));
    QTest::newRow("surrogates the wrong way round") << QString(QChar(0xdc00)) + QChar(0xd800);
    QTest::newRow("two high surrogates") << QString(QChar(0xd800)) + QChar(0xd800);
}

void tst_userdocument::unreadableCharactersAreDropped()
{
    QFETCH(QString, character);
    QCOMPARE(writtenAndRead("x" + character + "y", "t" + character + "u"),
             QStringList({ "", "xy", "tu" }));
}

void tst_userdocument::allOtherCharactersGoThrough_data()
{
    QTest::addColumn<QString>("character");
    for (const uint c :
         { 0x01u,   0x08u,   0x09u,    0x0au,    0x0du,    0x1fu,    0x22u,    0x26u,   0x27u,
           0x3cu,   0x3eu,   0x7fu,    0x85u,    0x4e2du,  0xd7ffu,  0xe000u,  0xfdd0u, 0xfeffu,
           0xfffdu, 0x2028u, 0x10000u, 0x1f600u, 0x1fffeu, 0x20000u, 0x10ffffu }) {
        QTest::newRow(qPrintable(QString("U+%1").arg(c, 4, 16))) << QString::fromUcs4(&c, 1);
    }
}

void tst_userdocument::allOtherCharactersGoThrough()
{
    QFETCH(QString, character);
    QCOMPARE(writtenAndRead("x" + character + "y", "t" + character + "u"),
             QStringList({ "", "x" + character + "y", "t" + character + "u" }));
}

void tst_userdocument::elementsBelowTheLimitAreCut()
{
    QDomDocument doc = nestedDocument(KW::c_nMaxDepth + 5);
    QCOMPARE(depthOf(textOf(doc)), KW::c_nMaxDepth);
    QDomDocument justRight = nestedDocument(KW::c_nMaxDepth);
    QCOMPARE(depthOf(textOf(justRight)), KW::c_nMaxDepth);
}

void tst_userdocument::aHundredThousandLevelsAreCut()
{
    QDomDocument doc = nestedDocument(100000);
    QCOMPARE(depthOf(textOf(doc)), KW::c_nMaxDepth);
}

void tst_userdocument::theCutsAreNamed()
{
    QDomDocument whole = nestedDocument(KW::c_nMaxDepth);
    QCOMPARE(KW::userDocumentText(whole).cut, QStringList());
    QDomDocument doc;
    QDomElement root = doc.createElement("r");
    for (const char* pszSection : { "s", "t" }) {
        QDomElement section = doc.createElement(pszSection);
        const QDomElement inner = nestedDocument(KW::c_nMaxDepth - 1).documentElement();
        section.appendChild(doc.importNode(inner, true));
        root.appendChild(section);
    }
    doc.appendChild(root);
    QCOMPARE(KW::userDocumentText(doc).cut, QStringList({ "/r/s/a/a/.../a", "/r/t/a/a/.../a" }));
    QCOMPARE(KW::userDocumentText(doc).cut, QStringList());
}

void tst_userdocument::textBesideTheCutStays()
{
    QDomDocument doc = nestedDocument(KW::c_nMaxDepth);
    QDomElement deepest = doc.documentElement();
    while (!deepest.firstChildElement().isNull()) {
        deepest = deepest.firstChildElement();
    }
    deepest.appendChild(doc.createTextNode("text"));
    deepest.appendChild(doc.createElement("cut"));
    const QString strText = textOf(doc);
    QVERIFY(strText.contains(">text</a>"));
    QVERIFY(!strText.contains("<cut"));
}

void tst_userdocument::aDeepTreeInTheStoreDoesNotBreakASave()
{
    class CDeepTree : public MV::ILayoutElement {
    public:
        void toXml(QDomElement& parent, QDomDocument& doc) const override
        {
            QDomElement top = doc.createElement("deep");
            for (int i = 0; i < 20000; ++i) {
                QDomElement next = doc.createElement("deep");
                next.appendChild(top);
                top = next;
            }
            parent.appendChild(top);
        }
    };
    writeLive("<ICUserConfigFile/>");
    service().loadSettings();
    KW::CLayoutWindow window;
    window.m_pItemLayout = std::make_shared<CDeepTree>();
    service().getLayoutConfig()->addQuotePanelSetting(window);
    logcapture::clear();
    saveAndWait(service());
    QCOMPARE(logcapture::messages().first(),
             QString("[CUserConfigManager] save xml; cut elements below level 512, count:1, "
                     "first:/ICUserConfigFile/IndexLayout/LayoutWindow/deep/.../deep"));
    const KW::UserDocument file = KW::parseUserDocument(QString::fromUtf8(readFile(livePath())));
    QVERIFY(file.isValid());
    QVERIFY(!file.document.elementsByTagName("UserParams").isEmpty());
}

QTEST_GUILESS_MAIN(tst_userdocument)
#include "tst_userdocument.moc"
