#include "inspect/closest.h"

#include <QVector>

#include <algorithm>
#include <numeric>

namespace inspect {

namespace {

// Levenshtein's distance, by rows.
int distance(const QString& left, const QString& right)
{
    QVector<int> row(right.size() + 1);
    std::iota(row.begin(), row.end(), 0);
    for (int i = 0; i < left.size(); ++i) {
        int nDiagonal = row[0]++;
        for (int j = 0; j < right.size(); ++j) {
            const int nReplaced = nDiagonal + (left.at(i) == right.at(j) ? 0 : 1);
            nDiagonal = row[j + 1];
            row[j + 1] = std::min({ nReplaced, row[j] + 1, row[j + 1] + 1 });
        }
    }
    return row.last();
}

} // namespace

QString didYouMean(const QString& word, const QStringList& known)
{
    QString strBest;
    int nBest = word.size() / 3 + 1;
    for (const QString& candidate : known) {
        const int nDistance = distance(word.toLower(), candidate.toLower());
        if (nDistance <= nBest && (strBest.isEmpty() || nDistance < nBest)) {
            nBest = nDistance;
            strBest = candidate;
        }
    }
    return strBest.isEmpty() ? QString() : QStringLiteral(", did you mean '%1'?").arg(strBest);
}

} // namespace inspect
