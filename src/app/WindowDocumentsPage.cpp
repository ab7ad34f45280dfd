#include "app/WindowDocumentsPage.h"

#include "app/RecentlyOpenedFilesSource.h"
#include "board/QNBrdAttachedFilesSource.h"
#include "widgets/DragMenu.h"

#include <QApplication>
#include <QFont>
#include <QLabel>
#include <QStyle>
#include <QToolButton>
#include <QVBoxLayout>

namespace Orvex {

namespace {

const QString s_transparentName = QStringLiteral("TransparentWidget");

QLabel* heading(const QString& a_text, QWidget* a_parent)
{
    auto* label = new QLabel(a_text, a_parent);
    QFont font = label->font();
    font.setBold(true);
    font.setPointSizeF(font.pointSizeF() * 1.4);
    label->setFont(font);
    return label;
}

} // namespace

WindowDocumentsPage::WindowDocumentsPage(RecentlyOpenedFilesSource* a_recentSource,
                                         QNBrdAttachedFilesSource* a_attachedSource, QWidget* a_parent)
    : QScrollArea(a_parent), m_recentSource(a_recentSource), m_attachedSource(a_attachedSource)
{
    setObjectName(QStringLiteral("DocumentsPage"));
    setWidgetResizable(true);
    setFrameShape(QFrame::NoFrame);
    setStyleSheet(QStringLiteral("QScrollArea{background-color:transparent;}\n"
                                 "QWidget#TransparentWidget{background-color:transparent;}"));
    rebuild();
}

WindowDocumentsPage::~WindowDocumentsPage() = default;

void WindowDocumentsPage::rebuild()
{
    // The click that asked for the rebuild may come from a button of the old content.
    if (QWidget* old = takeWidget()) {
        old->hide();
        old->deleteLater();
    }

    auto* content = new QWidget;
    content->setObjectName(s_transparentName);
    auto* layout = new QVBoxLayout(content);
    layout->setContentsMargins(24, 16, 24, 16);

    layout->addWidget(heading(QStringLiteral("Actions"), content));
    m_openFileButton = new QToolButton(content);
    m_openFileButton->setObjectName(QStringLiteral("OpenFileButton"));
    m_openFileButton->setText(QStringLiteral("Open File..."));
    m_openFileButton->setIcon(style()->standardIcon(QStyle::SP_DialogOpenButton));
    m_openFileButton->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    m_openFileButton->setAutoRaise(true);
    m_openFileButton->setCursor(Qt::PointingHandCursor);
    connect(m_openFileButton, &QToolButton::clicked, this, &WindowDocumentsPage::openRequested);
    layout->addWidget(m_openFileButton, 0, Qt::AlignLeft);
    layout->addSpacing(12);

    layout->addWidget(heading(QStringLiteral("Documents"), content));
    if (m_recentSource)
        layout->addWidget(m_recentSource->documentsPageWidget(content));
    layout->addSpacing(8);
    if (m_attachedSource)
        layout->addWidget(m_attachedSource->documentsPageWidget(content));
    layout->addSpacing(12);

    auto* openLine = new QLabel(content);
    openLine->setObjectName(QStringLiteral("OpenDocumentLine"));
    openLine->setText(
        QStringLiteral("<h3>&nbsp;<a href=\"open\" style=\"color:black;text-decoration:none\">Open a "
                       "document to begin editing...</a></h3>"));
    openLine->setTextInteractionFlags(Qt::LinksAccessibleByMouse | Qt::LinksAccessibleByKeyboard);
    openLine->setCursor(Qt::PointingHandCursor);
    connect(openLine, &QLabel::linkActivated, this, [this](const QString& a_link) {
        if (a_link == QLatin1String("open"))
            emit openRequested();
    });
    layout->addWidget(openLine);
    layout->addStretch();

    setWidget(content);
    m_content = content;
}

} // namespace Orvex
