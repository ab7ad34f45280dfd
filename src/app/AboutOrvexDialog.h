#pragma once

#include <QDialog>
#include <QPointer>
#include <QString>

class QLabel;

namespace Orvex {

// The editor's version, the board software kit it was built with and the driver it runs on, each
// explained, beside the application icon.
class AboutOrvexDialog : public QDialog
{
    Q_OBJECT

public:
    explicit AboutOrvexDialog(QWidget* a_parent = nullptr);

    // The version, " [debug]" for a debug build, then ", Build " and the build number.
    static QString orvexVersion();
    static QString sdkVersion();
    // What the installed driver reports, or "Unknown" when it reports nothing.
    static QString driverVersion();

    QString text() const;

private:
    QPointer<QLabel> m_text;
};

} // namespace Orvex
