// Damages users' files in all ways and looks at what a salvage makes of each.
//
//     salvagesweep [--quick] [SEED]
//
// Prints a table in Markdown; status 0 only if nothing was wrong.

#include "damages.h"

#include <bench/documents.h>
#include <format/userdocument.h>
#include <inspect/userfile.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTextStream>

namespace {

using truth::CTruth;
using truth::Damage;

QTextStream& out()
{
    static QTextStream s_out(stdout);
    return s_out;
}

KW::UserRecords recordsOf(const QByteArray& text)
{
    return KW::recordsOf(KW::parseUserDocument(QString::fromUtf8(text)).document);
}

class CSweep {
public:
    CSweep(const QString& name, const QByteArray& text)
        : m_strName(name)
        , m_text(text)
        , m_older(truth::olderCopy(recordsOf(text)))
        , m_truth(text, m_older)
    {
    }

    void cuts(int step)
    {
        begin();
        for (int i = 0; i < m_text.size(); i += step) {
            judge(truth::cutAt(m_text, i));
        }
        end(QStringLiteral("cut at every %1th byte").arg(step));
    }

    void tears(int count, quint32 seed)
    {
        QRandomGenerator random(seed);
        begin();
        for (int i = 0; i < count; ++i) {
            judge(truth::randomDamage(m_text, random, 4096));
        }
        end(QStringLiteral("torn blocks, seed %1").arg(seed));
    }

    int wrong() const { return m_nAllWrong; }

private:
    void begin()
    {
        m_nRuns = m_nWrong = 0;
        m_nFalse = m_truth.falseElements();
        m_nUnowned = m_truth.unowned();
        m_timer.start();
    }

    void judge(const Damage& damage)
    {
        const mend::Salvage salvage = mend::salvage(truth::damaged(m_text, damage), m_older);
        const QStringList faults = m_truth.faults(damage, salvage);
        ++m_nRuns;
        m_nWrong += faults.isEmpty() ? 0 : 1;
        if (!faults.isEmpty()) {
            QTextStream(stderr) << m_strName << ", " << damage.text() << ": "
                                << faults.join("\n    ") << '\n';
        }
    }

    void end(const QString& what)
    {
        m_nAllWrong += m_nWrong;
        out() << "| " << m_strName << " | " << what << " | " << m_nRuns << " | " << m_nWrong
              << " | " << m_truth.falseElements() - m_nFalse << " | "
              << m_truth.unowned() - m_nUnowned << " |\n";
        out().flush();
        QTextStream(stderr) << m_strName << ", " << what << ": " << m_timer.elapsed() << " ms\n";
    }

    QString m_strName;
    QByteArray m_text;
    KW::UserRecords m_older;
    CTruth m_truth;
    QElapsedTimer m_timer;
    int m_nRuns = 0;
    int m_nWrong = 0;
    int m_nAllWrong = 0;
    int m_nFalse = 0;
    int m_nUnowned = 0;
};

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication app(argc, argv);
    QStringList words = QCoreApplication::arguments().mid(1);
    const bool bQuick = words.removeAll("--quick") > 0;
    const quint32 nSeed = words.value(0, "1").toUInt();
    out() << "| user | damage | files | wrong | well-formed and false | whose is unknown |\n"
          << "|---|---|---|---|---|---|\n";
    CSweep sample("sample", inspect::readBytes(SAMPLE_USER "/indexUserConfig.xml").bytes);
    sample.cuts(bQuick ? 257 : 64);
    sample.tears(bQuick ? 60 : 1000, nSeed);
    CSweep large("large", bench::userFile(bench::sizeOf(bQuick ? "S" : "M")));
    large.cuts(bQuick ? 4001 : 64);
    large.tears(bQuick ? 20 : 1000, nSeed);
    out() << "\nSalvage: " << (sample.wrong() + large.wrong()) << " wrong\n";
    out().flush();
    return sample.wrong() + large.wrong() == 0 ? 0 : 1;
}
