#include "inspect/closest.h"

#include <QVector>

#include <algorithm>
#include <numeric>

namespace inspect {

namespace {

using Letters = QVector<uint>;

// Letters to replace, insert, leave out or swap with their neighbour, by rows.
int distance(const Letters& left, const Letters& right)
{
    QVector<int> beforeLast;
    QVector<int> last;
    QVector<int> row(right.size() + 1);
    std::iota(row.begin(), row.end(), 0);
    for (int i = 0; i < left.size(); ++i) {
        beforeLast = last;
        last = row;
        row[0] = i + 1;
        for (int j = 0; j < right.size(); ++j) {
            const int nReplaced = last[j] + (left[i] == right[j] ? 0 : 1);
            row[j + 1] = std::min({ nReplaced, row[j] + 1, last[j + 1] + 1 });
            if (i > 0 && j > 0 && left[i] == right[j - 1] && left[i - 1] == right[j]) {
                row[j + 1] = std::min(row[j + 1], beforeLast[j - 1] + 1);
            }
        }
    }
    return row.last();
}

// One letter in three may be wrong; of a name that is changed in all its letters nothing is left.
int limit(const Letters& word, const Letters& candidate)
{
    const int nShorter = std::min(word.size(), candidate.size());
    return nShorter < 2 ? -1 : std::min((word.size() + 2) / 3, nShorter - 1);
}

} // namespace

QString didYouMean(const QString& word, const QStringList& known)
{
    const Letters letters = word.toLower().toUcs4();
    QString strBest;
    int nBest = 0;
    for (const QString& candidate : known) {
        const Letters others = candidate.toLower().toUcs4();
        const int nDistance = distance(letters, others);
        if (nDistance <= limit(letters, others) && (strBest.isEmpty() || nDistance < nBest)) {
            nBest = nDistance;
            strBest = candidate;
        }
    }
    return strBest.isEmpty() ? QString() : QStringLiteral(", did you mean '%1'?").arg(strBest);
}

} // namespace inspect
