#include "app/AboutOrvexDialog.h"

#include "app/Startup.h"
#include "platform/QNDriver.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QVBoxLayout>

// The build can pass its own version and build number; a plain compile gets these.
#ifndef ORVEX_VERSION
#define ORVEX_VERSION "0.1"
#endif
#ifndef ORVEX_BUILD_NUMBER
#define ORVEX_BUILD_NUMBER 1
#endif

#define ORVEX_STRINGIFY_VALUE(a_value) #a_value
#define ORVEX_STRINGIFY(a_value) ORVEX_STRINGIFY_VALUE(a_value)

namespace Orvex {

namespace {

constexpr int IconSize = 64;

QString row(const QString& a_name, const QString& a_value)
{
    return QStringLiteral("<tr><td><b>%1</b></td><td>%2</td></tr>").arg(a_name, a_value.toHtmlEscaped());
}

} // namespace

AboutOrvexDialog::AboutOrvexDialog(QWidget* a_parent) : QDialog(a_parent)
{
    Startup::initResources();
    setObjectName(QStringLiteral("aboutOrvexDialog"));
    setWindowTitle(QStringLiteral("About Orvex"));

    auto* icon = new QLabel(this);
    icon->setObjectName(QStringLiteral("aboutOrvexIcon"));
    icon->setPixmap(QIcon(QStringLiteral(":/icons/OrvexLogo.png")).pixmap(IconSize, IconSize));
    icon->setAlignment(Qt::AlignTop | Qt::AlignHCenter);

    m_text = new QLabel(this);
    m_text->setObjectName(QStringLiteral("aboutOrvexText"));
    m_text->setTextFormat(Qt::RichText);
    m_text->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_text->setText(
        QStringLiteral("<html><table cellspacing=\"4\">") +
        row(QStringLiteral("Orvex Version"), orvexVersion()) +
        row(QStringLiteral("SDK Version"), sdkVersion()) +
        row(QStringLiteral("Driver Version"), driverVersion()) +
        QStringLiteral(
            "<tr><td colspan=\"2\"><i>Orvex is built with the Qt toolkit, used under the GNU Lesser "
            "General Public License; see Qt LGPL Licensing in the Orvex menu.</i></td></tr>"
            "</table><hr/><table cellspacing=\"4\">"
            "<tr><td><b>Orvex Version</b></td><td>The release and build of this editor.</td></tr>"
            "<tr><td><b>SDK Version</b></td><td>The frame-grabber software kit this editor was built "
            "with.</td></tr>"
            "<tr><td><b>Driver Version</b></td><td>The frame-grabber driver installed on this "
            "computer, as it reports itself. When it differs much from the SDK version, boards may "
            "not work as expected.</td></tr>"
            "</table></html>"));

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);

    auto* content = new QHBoxLayout;
    content->addWidget(icon);
    content->addWidget(m_text, 1);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(content);
    layout->addWidget(buttons);
}

QString AboutOrvexDialog::orvexVersion()
{
    QString version = QStringLiteral(ORVEX_VERSION);
#ifndef NDEBUG
    version += QStringLiteral(" [debug]");
#endif
    return version + QStringLiteral(", Build ") + QStringLiteral(ORVEX_STRINGIFY(ORVEX_BUILD_NUMBER));
}

QString AboutOrvexDialog::sdkVersion()
{
    return QStringLiteral("QND 1.0 (simulated boards)");
}

QString AboutOrvexDialog::driverVersion()
{
    const char* version = QNDriverVersion();
    if (!version || !*version)
        return QStringLiteral("Unknown");
    return QString::fromUtf8(version);
}

QString AboutOrvexDialog::text() const
{
    return m_text ? m_text->text() : QString();
}

} // namespace Orvex
