#pragma once

#include <QJsonValue>
#include <QString>
#include <QStringList>
#include <QVector>

/// Whether a table is a list in JSON, or the one object that it has a row for.
enum class TableShape { List, One };

/// Rows of values in named columns: the one form in which commands hand their answer out.
struct Table {
    QString strName; ///< in JSON
    QString strTitle; ///< above the rows; wide characters count twice, as on a terminal
    QStringList columns;
    QVector<QVector<QJsonValue>> rows = {};
    TableShape shape = TableShape::List;
};
