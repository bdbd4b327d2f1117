#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QMap>
#include <QString>
#include <QVector>

namespace inspect {

/// A user of an index.
struct IndexedUser {
    QString strName;
    QString strPage; ///< the file of his page beside the index; empty where there is none
    QString strError; ///< why there is none
    QMap<QString, int> findings; ///< how many of which rule
};

/// An index over the pages of many users: findings by rule, and by user, each with a link to his
/// page; to be read with and without scripts, which sort and filter. Who has the most findings
/// stands first, behind those without a page. Like report() it is one file without outside parts.
QByteArray reportIndex(const QVector<IndexedUser>& users, const QDateTime& now);

} // namespace inspect
