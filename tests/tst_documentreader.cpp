// What is read without Qt's own parser, beside it.

#include "randomdocuments.h"
#include "treecomparison.h"

#include "format/documentreader_p.h"
#include "format/userdocument.h"

#include <bench/documents.h>

#include <QDirIterator>
#include <QRandomGenerator>
#include <QtTest>

namespace {

constexpr int c_nTexts = 10000;

randomdocuments::Choose seeded(QRandomGenerator& random)
{
    return [&random](int bound) { return random.bounded(bound); };
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// What is not as Qt has it; empty when all is, or when the text is left to Qt.
QString differenceFromQt(const QString& text, bool* pbRead = nullptr)
{
    const std::optional<QDomDocument> read = KW::readDocument(text, KW::c_nMaxDepth);
    if (pbRead != nullptr) {
        *pbRead = read.has_value();
    }
    QDomDocument byQt;
    const bool bWellFormed = !read || byQt.setContent(text);
    return !bWellFormed ? QString("read, though malformed")
        : read          ? treeDifference(*read, byQt)
                        : QString();
}

// The whole way, with the errors.
QString wholeDifferenceFromQt(const QString& text)
{
    const KW::UserDocument read = KW::parseUserDocument(text);
    QDomDocument byQt;
    QString strError;
    int nLine = 0;
    int nColumn = 0;
    byQt = byQt.setContent(text, &strError, &nLine, &nColumn) ? byQt : QDomDocument();
    const bool bSame = read.strError == strError && read.nLine == nLine && read.nColumn == nColumn;
    return bSame ? treeDifference(read.document, byQt) : read.strError + " / " + strError;
}

QStringList filesBelow(const QStringList& directories)
{
    QStringList files;
    for (const QString& directory : directories) {
        for (QDirIterator each(directory, QDir::Files, QDirIterator::Subdirectories);
             each.hasNext();) {
            files.append(each.next());
        }
    }
    return files;
}

// A line a text.
constexpr char c_szDoubtful[] = R"(x
<a
<a>
</a>
<a/><a/>
<a/>x
x<a/>
< a/>
<1/>
<-a/>
<a></b>
<a></a
<a></ a>
<a/
<a / >
<a b/>
<a b=1/>
<a b='1/>
<a b='<'/>
<a b='1'c='2'/>
<a ='1'/>
<a b'1'/>
<a 1b='1'/>
<名/>
<a 名='1'/>
<a名/>
<a>&u;</a>
<a>&</a>
<a>&amp</a>
<a>&AMP;</a>
<a>&#;</a>
<a>&#x;</a>
<a>&#X41;</a>
<a>&#x10000;</a>
<a>&#65536;</a>
<a>&#a;</a>
<a>&# 65;</a>
<a>&#+65;</a>
<a>&#xg;</a>
<a>&#x0x41;</a>
<a>&#-65;</a>
<a>&#0x41;</a>
<a b='&u;'/>
<a>]]></a>
<a>&amp;]]></a>
<a><b/>]]></a>
<a><!-- -- --></a>
<a><!--></a>
<a><!-- ---></a>
<a><!--</a>
<a><![CDATA[</a>
<a><![cdata[]]></a>
<![CDATA[]]><a/>
<a><!x></a>
<?pi?><a/>
<a><?pi?></a>
<a/><?pi?>
<!DOCTYPE a><a/>
 <?xml version='1.0'?><a/>
<?xml?><a/>
<?xmlversion='1.0'?><a/>
<?xml version=''?><a/>
<?XML version='1.0'?><a/>
<?xml encoding='utf-8'?><a/>
<?xml version='1.0' encoding=''?><a/>
<?xml version='1.0' standalone='yes'?><a/>
<?xml version='1.0' encoding='utf-8' standalone='no'?><a/>
<?xml version='1.0'encoding='utf-8'?><a/>
<?xml version='1.0'><a/>
<?xml version='1.0'?>)";

} // namespace

class tst_documentreader : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void whatIsReadIsWhatQtReads();
    void changedTextsAreReadAsQtReadsThem();
    void changedUsersAreReadAsQtReadsThem();
    void allOfItIsAsQtHasIt();
    void plainTextsAreRead_data();
    void plainTextsAreRead();
    void doubtfulTextsAreNot_data();
    void doubtfulTextsAreNot();
    void theDepthLimitIsExact();
    void nothingRefersToTheText();
    void aTextWithoutItsZeroIsReadToItsEnd();
    void usersAreRead_data();
    void usersAreRead();
    void filesAreReadAsQtReadsThem();
};

void tst_documentreader::whatIsReadIsWhatQtReads()
{
    int nRead = 0;
    for (int i = 0; i < c_nTexts; ++i) {
        qSetGlobalQHashSeed(-1);
        QRandomGenerator random(i);
        const QString strText = randomdocuments::text(seeded(random));
        bool bRead = false;
        const QString strDifference = differenceFromQt(strText, &bRead);
        QVERIFY2(strDifference.isEmpty(),
                 qPrintable(QString::number(i) + strDifference + '\n' + strText));
        nRead += bRead ? 1 : 0;
    }
    QVERIFY2(nRead > c_nTexts / 2 && nRead < c_nTexts, qPrintable(QString::number(nRead)));
}

void tst_documentreader::changedTextsAreReadAsQtReadsThem()
{
    int nRead = 0;
    for (int i = 0; i < c_nTexts; ++i) {
        QRandomGenerator random(i);
        const auto choose = seeded(random);
        const QString strText = randomdocuments::changed(randomdocuments::text(choose), choose);
        bool bRead = false;
        const QString strDifference = differenceFromQt(strText, &bRead);
        QVERIFY2(strDifference.isEmpty(),
                 qPrintable(QString::number(i) + strDifference + '\n' + strText));
        nRead += bRead ? 1 : 0;
    }
    QVERIFY2(nRead > c_nTexts / 20, qPrintable(QString::number(nRead)));
}

void tst_documentreader::changedUsersAreReadAsQtReadsThem()
{
    const QStringList files = filesBelow({ SAMPLE_USER, TEST_DATA "/golden", TEST_DATA "/load" });
    QVERIFY(files.size() > 10);
    for (int i = 0; i < 3000; ++i) {
        QRandomGenerator random(i);
        const QString strFile = QString::fromUtf8(contentOf(files[i % files.size()]));
        const QString strText = randomdocuments::changed(strFile, seeded(random));
        const QString strDifference = differenceFromQt(strText);
        QVERIFY2(strDifference.isEmpty(), qPrintable(QString::number(i) + strDifference));
    }
}

void tst_documentreader::allOfItIsAsQtHasIt()
{
    for (int i = 0; i < c_nTexts / 4; ++i) {
        QRandomGenerator random(i);
        const auto choose = seeded(random);
        const QString strText = randomdocuments::text(choose);
        for (const QString& each : { strText, randomdocuments::changed(strText, choose) }) {
            const QString strDifference = wholeDifferenceFromQt(each);
            QVERIFY2(strDifference.isEmpty(),
                     qPrintable(QString::number(i) + strDifference + '\n' + each));
        }
    }
}

void tst_documentreader::plainTextsAreRead_data()
{
    QTest::addColumn<QString>("text");
    const auto row
        = [](const char* pszWhat, const QString& text) { QTest::newRow(pszWhat) << text; };
    row("element", "<a/>");
    row("all of a name", "<_:aZ-09.z/>");
    row("declaration", "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<a/>");
    row("declaration without encoding", "<?xml version='1.1' ?><a/>");
    row("declaration with blanks", "<?xml\tversion\n=\r'&#49;'  encoding = \"gbk\" ?><a/>");
    row("comments", "<!----><!-- - > < & --><a><!--x--></a><!--y-->\n");
    row("data", "<a><![CDATA[]]><![CDATA[ ]]><![CDATA[]]]]><![CDATA[>&<]]></a>");
    row("data beside text", "<a>x<![CDATA[y]]>z</a>");
    row("blank texts",
        "<a> \r\n\t<b> </b>\u3000\u00a0\u0085\u2028&#32;&#x3000;<b>\u3000</b>&#10;</a>");
    row("texts with blanks", "<a> x\u3000<b>\u3000y </b> &#x200b; </a>");
    row("line ends", "<a b='\r\n\r\n\t'>x\r\ny\rz</a>");
    row("empty and blank values", "<a b='' c=\"\" d=' ' e='&#32;'/>");
    row("quotes", "<a b='\"' c=\"'\" d='>'>\"'></a>");
    row("blanks in tags", "<a\n\tb\r=\n'1' c='2'\n></a\n>");
    row("twice the same attribute", "<a b='1' c='2' b='3'/>");
    row("references", "<a b='&lt;&gt;&amp;&quot;&apos;'>&lt;&gt;&amp;&quot;&apos;</a>");
    row("numbers", "<a>&#65;&#x4e2D;&#000000065;&#xffff;&#65535;&#xd83d;&#xDE00;&#0;x</a>");
    row("data behind a reference", "<a>]&#93;>]]&gt;</a>");
    row("brackets in an attribute", "<a b=']]>'/>");
    row("prefixes", "<p:a xmlns:p='u' p:b='1' b='2'/>");
    row("control characters", "<a b='\x01\x1f'>\x7f\x02</a>");
    row("beyond the first plane", "<a b='😀'>😀\ufdd0\ufffd\ufeff</a>");
    row("a long value", "<a b='" + QString("行").repeated(100000) + "'/>");
    row("many attributes", "<a" + QString(" n='1'").repeated(3) + " o='1' p='1' q='1'/>");
    row("attributes of the same hash", "<a axb='1' ayb='2' acb='axb' adb='ayb'/>");
}

void tst_documentreader::plainTextsAreRead()
{
    QFETCH(QString, text);
    bool bRead = false;
    QCOMPARE(differenceFromQt(text, &bRead), QString());
    QVERIFY(bRead);
}

void tst_documentreader::doubtfulTextsAreNot_data()
{
    QTest::addColumn<QString>("text");
    for (const QString& text : QString(c_szDoubtful).split('\n')) {
        QTest::newRow(qPrintable(text)) << text;
    }
    QTest::newRow("NUL in a text") << QString("<a>x</a>").replace('x', QChar(0));
    QTest::newRow("NUL in a comment") << QString("<a><!--x--></a>").replace('x', QChar(0));
    for (const int nEnd : { 0xfffe, 0xffff }) {
        for (const char* pszText : { "<a>%1</a>", "<a b='%1'/>", "<a/>%1", "<a><!--%1--></a>" }) {
            QTest::addRow("%x in %s", nEnd, pszText) << QString(pszText).arg(QChar(nEnd));
        }
    }
    QTest::newRow("nothing") << "";
    QTest::newRow("blank") << " ";
    QTest::newRow("byte order mark") << QChar(0xfeff) + QString("<a/>");
    QTest::newRow("NUL at the end") << QString("<a/>") + QChar(0);
}

void tst_documentreader::doubtfulTextsAreNot()
{
    QFETCH(QString, text);
    QVERIFY(!KW::readDocument(text, KW::c_nMaxDepth));
    QCOMPARE(wholeDifferenceFromQt(text), QString());
}

void tst_documentreader::theDepthLimitIsExact()
{
    const QString strText = "<a><b><c>x</c></b><b/></a>";
    QVERIFY(!KW::readDocument(strText, 2));
    QVERIFY(KW::readDocument(strText, 3));
}

// A text may die before its tree.
void tst_documentreader::nothingRefersToTheText()
{
    const QString strText = "<a b='value'>text<!--comment--><![CDATA[data]]></a>";
    std::vector<QChar> dying(strText.begin(), strText.end());
    const auto document
        = KW::readDocument(QString::fromRawData(dying.data(), static_cast<int>(dying.size())), 9);
    QVERIFY(document);
    std::fill(dying.begin(), dying.end(), QChar('!'));
    QDomDocument byQt;
    QVERIFY(byQt.setContent(strText));
    QCOMPARE(treeDifference(*document, byQt), QString());
}

void tst_documentreader::aTextWithoutItsZeroIsReadToItsEnd()
{
    const QString strText = "<a b='1'>x<c/></a>";
    for (int i = 0; i < strText.size(); ++i) {
        QVERIFY(!KW::readDocument(QString::fromRawData(strText.constData(), i), 9));
    }
}

void tst_documentreader::usersAreRead_data()
{
    QTest::addColumn<QByteArray>("content");
    for (const bench::Size& size : bench::c_sizes) {
        QTest::newRow(size.pszName) << bench::userFile(size);
    }
    for (const QString& file :
         filesBelow({ SAMPLE_USER, TEST_DATA "/golden", TEST_DATA "/inspect" })) {
        if (file.endsWith(".xml")) {
            QTest::newRow(qPrintable(QFileInfo(file).fileName())) << contentOf(file);
        }
    }
}

void tst_documentreader::usersAreRead()
{
    QFETCH(QByteArray, content);
    bool bRead = false;
    QCOMPARE(differenceFromQt(QString::fromUtf8(content), &bRead), QString());
    QVERIFY(bRead);
}

void tst_documentreader::filesAreReadAsQtReadsThem()
{
    const QStringList files = filesBelow({ TEST_DATA });
    QVERIFY(files.size() > 20);
    for (const QString& file : files) {
        const QByteArray bytes = contentOf(file);
        const QString strText = QString::fromUtf8(bytes.constData(), bytes.size());
        QVERIFY2(wholeDifferenceFromQt(strText).isEmpty(), qPrintable(file));
    }
}

QTEST_GUILESS_MAIN(tst_documentreader)
#include "tst_documentreader.moc"
