#pragma once

#include <QSize>
#include <QTabWidget>

namespace Orvex {

// A tab widget that lays itself out again only when something its layout depends on has changed. A plain
// QTabWidget answers every layout request of its pages, which comes with each page shown, by laying out
// its tab bar and page again, repainting itself whole and asking the layouts above it to lay out again,
// up to the main window, which then repaints its own frame: on every switch of tab, for a geometry that
// nothing changed. Only the tab bar's size and the widget's minimum size move the tab bar or the pages.
class QuietTabWidget : public QTabWidget
{
    Q_OBJECT

public:
    explicit QuietTabWidget(QWidget* a_parent = nullptr);

protected:
    bool event(QEvent* a_event) override;

private:
    QSize m_laidOutBar;
    QSize m_laidOutMinimum;
};

} // namespace Orvex
