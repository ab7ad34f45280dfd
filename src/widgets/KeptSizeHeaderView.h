#pragma once

#include <QHash>
#include <QHeaderView>
#include <QSize>
#include <QString>

namespace Orvex {

// A header that measures each title once. Qt measures every section's title again, shaping its text,
// whenever the header's size is asked after a section changed: a table sizing its columns one by one
// measures all its titles for each of them.
class KeptSizeHeaderView : public QHeaderView
{
    Q_OBJECT

public:
    explicit KeptSizeHeaderView(Qt::Orientation a_orientation, QWidget* a_parent = nullptr);

protected:
    QSize sectionSizeFromContents(int a_logicalIndex) const override;
    bool event(QEvent* a_event) override;

private:
    // By title, for the header's font and style as they are; with a sort indicator shown, by title too.
    mutable QHash<QString, QSize> m_sizes;
    mutable QHash<QString, QSize> m_sortedSizes;
};

} // namespace Orvex
