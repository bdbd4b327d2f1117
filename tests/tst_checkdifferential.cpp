#include "librarytest.h"
#include "usermutator.h"

#include <inspect/check.h>

#include <QXmlStreamReader>

#include <algorithm>

// What check() calls in order comes back from a load and a save, by a reader of another make.
class tst_checkdifferential : public CLibraryTest {
    Q_OBJECT

private Q_SLOTS:
    void whatIsInOrderComesBack();

private:
    QByteArray saved(const QByteArray& content);
};

namespace {

// Blanks of XML only: the others are text.
bool isBlank(const QString& text)
{
    return std::all_of(text.begin(), text.end(),
                       [](QChar c) { return QStringLiteral(" \t\r\n").contains(c); });
}

QString statementOf(const QXmlStreamReader& reader)
{
    QStringList attributes;
    for (const QXmlStreamAttribute& each : reader.attributes()) {
        // What is written for a window that has none.
        if (each.qualifiedName() != QLatin1String("navtree") || !each.value().isEmpty()) {
            attributes.append(each.qualifiedName() + '=' + each.value());
        }
    }
    attributes.sort();
    return reader.qualifiedName() + '[' + attributes.join(' ') + ']';
}

// All that the element says at which \a reader stands; nobody asks for the order of sections, of
// panel groups and of stock lists. \a foreign: blanks that are all of its content are text.
QString saidBy(QXmlStreamReader& reader, bool foreign)
{
    static const QStringList s_unordered { "ICUserConfigFile", "FormulaPanelGroupLayout",
                                           "ValuePanelGroupLayout", "Customs" };
    static const QStringList s_foreign { "DockArea", "FormulaCatalog", "drawGraph" };
    const QString strTag = reader.qualifiedName().toString();
    foreign = foreign || s_foreign.contains(strTag);
    QString strSaid = statementOf(reader);
    QStringList children;
    QString strBlanks;
    while (!reader.atEnd() && reader.readNext() != QXmlStreamReader::EndElement) {
        if (reader.isStartElement()) {
            children.append(saidBy(reader, foreign));
        } else if (reader.isCharacters() && isBlank(reader.text().toString())) {
            strBlanks += reader.text();
        } else {
            children.append(reader.tokenString() + reader.text()
                            + reader.processingInstructionTarget()
                            + reader.processingInstructionData());
        }
    }
    if (s_unordered.contains(strTag)) {
        children.sort();
    }
    return strSaid + (children.isEmpty() && foreign ? strBlanks : QString()) + '('
        + children.join(",\n") + ')';
}

// Nothing when it is not well-formed.
QString saidBy(const QByteArray& xml)
{
    QXmlStreamReader reader(xml);
    QString strSaid;
    while (!reader.atEnd()) {
        reader.readNext();
        if (reader.isStartElement()) {
            strSaid += saidBy(reader, false);
        } else if (reader.isStartDocument()) {
            strSaid += reader.isStandaloneDocument() ? "standalone" : "";
        } else if (!isBlank(reader.text().toString()) || reader.isProcessingInstruction()) {
            strSaid += reader.tokenString();
        }
    }
    return reader.hasError() ? QString() : strSaid;
}

} // namespace

QByteArray tst_checkdifferential::saved(const QByteArray& content)
{
    utils::CSingletonT<KW::CUserConfigManager>::release();
    resetSiblings();
    writeLive(content);
    service().loadSettings();
    saveAndWait(service());
    return readFile(livePath());
}

void tst_checkdifferential::whatIsInOrderComesBack()
{
    CUserMutator mutator(readFile(SAMPLE_USER "/indexUserConfig.xml"), 20);
    int nInOrder = 0;
    for (int i = 0; i < 400; ++i) {
        const QByteArray mutant = mutator.mutant();
        writeLive(mutant);
        const inspect::CheckedFile checked = inspect::check(livePath());
        const bool bWhole = checked.file.state == inspect::FileState::Whole;
        const bool bTaken
            = std::all_of(checked.findings.begin(), checked.findings.end(),
                          [](const auto& each) { return each.effect == inspect::Effect::Kept; });
        if (bWhole && bTaken && checked.strFailure.isEmpty()) {
            ++nInOrder;
            QCOMPARE(saidBy(saved(mutant)), saidBy(mutant));
        }
    }
    QVERIFY2(nInOrder > 30, qPrintable(QString::number(nInOrder)));
}

QTEST_GUILESS_MAIN(tst_checkdifferential)
#include "tst_checkdifferential.moc"
