#pragma once

#include <inspect/screens.h>

#include <QRect>
#include <QString>
#include <QVector>

namespace roaming {

/// A screen as its host knows it.
struct ArrangedScreen {
    QRect rect; ///< pixels of the whole desktop
    double dScale = 1.0;
};

/// All screens of a desk: "1920x1080@0,0*1;2560x1440@1920,0*1.5", sorted. Layouts belong to it.
class CArrangement {
public:
    CArrangement() = default; ///< nobody has told
    explicit CArrangement(const QVector<ArrangedScreen>& screens);

    /// Of screens that somebody has typed, without scales.
    explicit CArrangement(const QVector<inspect::Screen>& screens);

    /// The one of a name; unknown for what is none.
    static CArrangement named(const QString& name);

    const QString& name() const { return m_strName; }
    bool isKnown() const { return !m_strName.isEmpty(); }

    /// Numbered from 1 on, in the order in which they were told.
    const QVector<inspect::Screen>& screens() const { return m_screens; }

private:
    QString m_strName;
    QVector<inspect::Screen> m_screens;
};

} // namespace roaming
