#include "widgets/KeptSizeHeaderView.h"

#include <QEvent>

namespace Orvex {

KeptSizeHeaderView::KeptSizeHeaderView(Qt::Orientation a_orientation, QWidget* a_parent)
    : QHeaderView(a_orientation, a_parent)
{
}

QSize KeptSizeHeaderView::sectionSizeFromContents(int a_logicalIndex) const
{
    const QAbstractItemModel* source = model();
    if (!source)
        return QHeaderView::sectionSizeFromContents(a_logicalIndex);
    // A section with a size, font or icon of its own is measured as Qt measures it.
    for (const int role : {int(Qt::SizeHintRole), int(Qt::FontRole), int(Qt::DecorationRole)}) {
        if (source->headerData(a_logicalIndex, orientation(), role).isValid())
            return QHeaderView::sectionSizeFromContents(a_logicalIndex);
    }
    ensurePolished();
    const QString title = source->headerData(a_logicalIndex, orientation(), Qt::DisplayRole).toString();
    QHash<QString, QSize>& sizes = isSortIndicatorShown() ? m_sortedSizes : m_sizes;
    auto kept = sizes.constFind(title);
    if (kept == sizes.constEnd())
        kept = sizes.insert(title, QHeaderView::sectionSizeFromContents(a_logicalIndex));
    return *kept;
}

bool KeptSizeHeaderView::event(QEvent* a_event)
{
    // What a title measures depends on the header's font and style.
    if (a_event->type() == QEvent::FontChange || a_event->type() == QEvent::StyleChange ||
        a_event->type() == QEvent::Polish) {
        m_sizes.clear();
        m_sortedSizes.clear();
    }
    return QHeaderView::event(a_event);
}

} // namespace Orvex
