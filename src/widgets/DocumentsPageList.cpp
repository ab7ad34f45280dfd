#include "widgets/DocumentsPageList.h"

#include <QLabel>
#include <QToolButton>
#include <QVBoxLayout>

namespace Orvex {

QWidget* DocumentsPageList::create(QWidget* a_parent)
{
    auto* list = new QWidget(a_parent);
    list->setObjectName(QStringLiteral("TransparentWidget"));
    auto* layout = new QVBoxLayout(list);
    layout->setContentsMargins(0, 0, 0, 0);
    return list;
}

QVBoxLayout* DocumentsPageList::reset(QWidget* a_list, const QString& a_heading)
{
    auto* layout = static_cast<QVBoxLayout*>(a_list->layout());
    while (QLayoutItem* item = layout->takeAt(0)) {
        if (QWidget* widget = item->widget()) {
            widget->hide();
            widget->deleteLater();
        }
        delete item;
    }
    auto* heading = new QLabel(a_heading, a_list);
    QFont headingFont = heading->font();
    headingFont.setBold(true);
    heading->setFont(headingFont);
    layout->addWidget(heading);
    return layout;
}

QToolButton* DocumentsPageList::addEntry(QWidget* a_list, const QIcon& a_icon, const QString& a_text,
                                         const QString& a_toolTip)
{
    auto* entry = new QToolButton(a_list);
    entry->setAutoRaise(true);
    entry->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    entry->setIcon(a_icon);
    entry->setText(a_text);
    entry->setToolTip(a_toolTip);
    entry->setCursor(Qt::PointingHandCursor);
    static_cast<QVBoxLayout*>(a_list->layout())->addWidget(entry, 0, Qt::AlignLeft);
    return entry;
}

} // namespace Orvex
