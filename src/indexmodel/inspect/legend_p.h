#pragma once

#include "inspect/scene_p.h"
#include "inspect/svgwriter_p.h"

namespace inspect {

/// What a legend tells of a window.
QStringList legendColumns();
QStringList legendCells(const SceneWindow& window);

/// The classes of a window, of its row and of what is drawn: "amiss", "main", "new", "gone".
QString legendClass(const SceneWindow& window);

/// The table beneath a picture; rows are called after \a id.
class CLegend {
public:
    explicit CLegend(const Scene& scene);

    /// What it needs: numbers and remarks are never shortened, names and panels are.
    QSizeF size() const;
    void paint(CSvgWriter& svg, const QPointF& corner, qreal width, const QString& id);

private:
    void paintCells(CSvgWriter& svg, const QStringList& cells, int first, const char* pszRole,
                    const QPointF& row) const;
    void paintRow(CSvgWriter& svg, const SceneWindow& window, const QPointF& at, qreal width,
                  const QString& id) const;

    const Scene& m_scene;
    QVector<int> m_names; ///< the columns that may be shortened and hold anything
    QVector<qreal> m_widths; ///< of the columns
};

/// The name of what is drawn of a window.
QString windowId(const QString& id, const SceneWindow& window);

/// The name of a window's row, which its picture links to.
QString legendRowId(const QString& id, const SceneWindow& window);

} // namespace inspect
