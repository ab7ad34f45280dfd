#pragma once

#include <QFocusFrame>
#include <QObject>
#include <QPointer>

namespace Orvex {

// A ring in the selection colour around whatever has the keyboard focus in one window: the style's own
// focus marks are faint (a dotted line on a check box, a slightly darker frame on a field) and some
// widgets show none, so a user walking the window with Tab loses track of where the keys go.
class FocusRing : public QObject
{
    Q_OBJECT

public:
    // Starts following the focus within a_window, which owns the result. Delete it before the window's
    // widgets go: the frame watches the widget it surrounds.
    explicit FocusRing(QWidget* a_window);
    ~FocusRing() override;

    // The widget the ring surrounds for a_focus: a field's own editor hands its focus on to the field
    // (a spin box's or combo box's line edit), and the ring goes around the whole field.
    static QWidget* holder(QWidget* a_focus);

private:
    void focusMoved(QWidget* a_now);

    QPointer<QWidget> m_window;
    // Lives beside the widget it surrounds, so it goes with that widget's page; made again then.
    QPointer<QFocusFrame> m_frame;
};

} // namespace Orvex
