#pragma once

#include <QIcon>
#include <QString>

class QToolButton;
class QVBoxLayout;
class QWidget;

namespace Orvex {

// The look shared by the lists of files on the Documents page (recent documents, files attached to
// boards): a transparent widget with a bold heading and one flat, clickable entry per file.
class DocumentsPageList
{
public:
    // An empty list widget under a_parent, to be filled with reset() and addEntry().
    static QWidget* create(QWidget* a_parent);
    // Takes out the old entries and starts again with the heading. The old entries are deleted once
    // control returns to the event loop: a click on an entry is often what rebuilds the list.
    static QVBoxLayout* reset(QWidget* a_list, const QString& a_heading);
    // A flat button with the icon and text, the full path as tool tip; the caller connects clicked().
    static QToolButton* addEntry(QWidget* a_list, const QIcon& a_icon, const QString& a_text,
                                 const QString& a_toolTip);
};

} // namespace Orvex
