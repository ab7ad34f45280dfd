#include "app/QNQtLgplDialog.h"

#include "app/Startup.h"

#include <QDialogButtonBox>
#include <QFile>
#include <QFontDatabase>
#include <QPlainTextEdit>
#include <QTabWidget>
#include <QVBoxLayout>

namespace Orvex {

namespace {

constexpr int InitialWidth = 680;
constexpr int InitialHeight = 520;

QPlainTextEdit* licenceView(const QString& a_resource, QWidget* a_parent)
{
    QFile file(a_resource);
    QString text;
    if (file.open(QIODevice::ReadOnly))
        text = QString::fromUtf8(file.readAll());
    auto* view = new QPlainTextEdit(text, a_parent);
    view->setReadOnly(true);
    // The texts are laid out with spaces for a fixed-width font.
    view->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    view->setLineWrapMode(QPlainTextEdit::NoWrap);
    return view;
}

} // namespace

QNQtLgplDialog::QNQtLgplDialog(QWidget* a_parent) : QDialog(a_parent)
{
    Startup::initResources();
    setObjectName(QStringLiteral("QNQtLgplDialog"));
    setWindowTitle(QStringLiteral("Qt Licensing"));

    m_tabs = new QTabWidget(this);
    m_tabs->addTab(licenceView(QStringLiteral(":/licenses/LGPL-2.1.txt"), m_tabs),
                   QStringLiteral("LGPL v2.1"));
    m_tabs->addTab(licenceView(QStringLiteral(":/licenses/LGPL-3.0.txt"), m_tabs),
                   QStringLiteral("LGPL v3.0"));
    m_tabs->addTab(licenceView(QStringLiteral(":/licenses/Qt-LGPL-Exception-1.1.txt"), m_tabs),
                   QStringLiteral("Qt LGPL Exception"));

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_tabs);
    layout->addWidget(buttons);
    resize(InitialWidth, InitialHeight);
}

QTabWidget* QNQtLgplDialog::tabs() const
{
    return m_tabs;
}

} // namespace Orvex
