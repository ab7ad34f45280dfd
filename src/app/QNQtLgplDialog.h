#pragma once

#include <QDialog>
#include <QPointer>

class QTabWidget;

namespace Orvex {

// The licence texts under which the program uses Qt, one tab each, as published.
class QNQtLgplDialog : public QDialog
{
    Q_OBJECT

public:
    explicit QNQtLgplDialog(QWidget* a_parent = nullptr);

    QTabWidget* tabs() const;

private:
    QPointer<QTabWidget> m_tabs;
};

} // namespace Orvex
