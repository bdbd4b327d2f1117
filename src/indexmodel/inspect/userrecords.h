#pragma once

#include "format/userrecords.h"

#include <QRectF>
#include <QString>
#include <QStringList>
#include <QVector>

namespace inspect {

using KW::recordsOf;
using KW::savedForm;
using KW::UserRecords;

/// A list of windows, under the name of its section and, if it has one, its key or name.
struct Layout {
    QString strSection;
    QString strName;
    QVector<KW::CLayoutWindow> windows;
};

/// The default, quote and trade layout and the panel groups.
QVector<Layout> layoutsOf(const UserRecords& records);

enum class LayoutSide { Quote, Trade };

/// The section of the current windows of a side, and that of its templates.
QString layoutSection(LayoutSide side);
QString templateSection(LayoutSide side);

/// The templates of one side, in their order.
QVector<Layout> templatesOf(const UserRecords& records, LayoutSide side);

/// Where \a window is, in pixels; wide enough for any size that a file holds.
QRectF areaOf(const KW::CLayoutWindow& window);

/// The names of all panels of \a panels, in document order.
QStringList panelNames(const KW::ElementTree& panels);

} // namespace inspect
