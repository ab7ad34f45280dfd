#pragma once

#include <QObject>
#include <QPointer>

class QScrollArea;

namespace Orvex {

// Keeps the room of a scroll area's vertical scroll bar free in its content while the bar is hidden, so
// that the content, and every field in it, is as wide whether the content needs the bar or not: fields
// stay where they are from a short page to a long one. A page that will need the bar gets it before its
// content is first laid out, and is not laid out a second time, a bar's width narrower.
class ScrollBarRoom : public QObject
{
    Q_OBJECT

public:
    // Follows a_area's vertical scroll bar from now on; a_area's widget must already have its layout.
    static void keep(QScrollArea* a_area);

protected:
    bool eventFilter(QObject* a_watched, QEvent* a_event) override;

private:
    explicit ScrollBarRoom(QScrollArea* a_area);
    void foresee();
    void fit();

    QPointer<QScrollArea> m_area;
    // Told apart from the area by address alone: the area also sends events while it is destroyed.
    const QObject* m_barContainer = nullptr;
    // The content's own right margin, without the room.
    int m_ownRight = 0;
};

} // namespace Orvex
