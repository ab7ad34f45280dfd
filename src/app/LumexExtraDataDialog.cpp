#include "app/LumexExtraDataDialog.h"

#include "model/LumexTree.h"
#include "model/LumexTreeElement.h"
#include "model/LumexTreeMode.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLabel>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace Orvex {

namespace {

constexpr int NameColumn = 0;
constexpr int ValueColumn = 1;
constexpr int InitialWidth = 560;
constexpr int InitialHeight = 480;

// Node names in the form XML tools show them.
QString displayName(const LumexTreeElement* a_node)
{
    if (a_node->isComment())
        return QStringLiteral("#comment");
    if (a_node->isText())
        return QStringLiteral("#text");
    if (a_node->isAttribute())
        return QLatin1Char('@') + a_node->name();
    return a_node->name();
}

QString fullValue(const LumexTreeElement* a_node)
{
    QString value = QString::fromUtf8(a_node->value());
    // Modes are told apart by their names, which the editor holds rather than the tree.
    if (value.isEmpty() && a_node->isModeElement()) {
        if (const QObject* mode = static_cast<const LumexTreeMode*>(a_node)->modeObject())
            value = mode->property("name").toString();
    }
    return value;
}

} // namespace

LumexExtraDataDialog::LumexExtraDataDialog(QWidget* a_parent) : QDialog(a_parent)
{
    setObjectName(QStringLiteral("LumexExtraDataDialog"));
    setWindowTitle(QStringLiteral("LUMEX Extra Data"));

    auto* heading = new QLabel(QStringLiteral("Extra Data"), this);
    QFont headingFont = heading->font();
    headingFont.setBold(true);
    heading->setFont(headingFont);

    auto* explanation = new QLabel(this);
    explanation->setWordWrap(true);
    explanation->setText(QStringLiteral(
        "<html><head/><body><p>The current LUMEX file contains features not defined by the reference schema. "
        "Orvex cannot edit these fields, but can preserve them when the file is next saved.</p><p>If an "
        "extra "
        "data item's parent element is deleted, it will not be saved, but will still appear here.</p></body>"
        "</html>"));

    m_tree = new QTreeWidget(this);
    m_tree->setColumnCount(2);
    m_tree->setHeaderLabels({QStringLiteral("Name"), QStringLiteral("Value")});
    m_tree->setToolTip(
        QStringLiteral("<html><head/><body><p>Tree hierarchy of the extra data elements. Schema "
                       "compliant features are included to provide context.</p></body></html>"));

    m_preserve = new QCheckBox(QStringLiteral("Preserve Extra Data"), this);
    m_preserve->setChecked(true);
    m_preserve->setToolTip(QStringLiteral(
        "<html><head/><body><p>If selected, Orvex will preserve extra data upon file save. Otherwise, only "
        "schema compliant features will be saved. Extra data preservation is enabled by default when a new "
        "LUMEX file is opened.</p></body></html>"));

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(heading);
    layout->addWidget(explanation);
    layout->addWidget(m_tree, 1);
    layout->addWidget(m_preserve);
    layout->addWidget(buttons);
    resize(InitialWidth, InitialHeight);
}

bool LumexExtraDataDialog::preserveExtraData() const
{
    return m_preserve && m_preserve->isChecked();
}

void LumexExtraDataDialog::setPreserveExtraData(bool a_preserve)
{
    m_preserve->setChecked(a_preserve);
}

QTreeWidget* LumexExtraDataDialog::tree() const
{
    return m_tree;
}

void LumexExtraDataDialog::fill(LumexTree* a_tree)
{
    m_tree->clear();
    m_hasExtraData = false;
    if (!a_tree || !a_tree->root())
        return;
    for (const LumexTreeElement* child : a_tree->root()->childElements()) {
        if (QTreeWidgetItem* item = itemFor(child))
            m_tree->addTopLevelItem(item);
    }
    m_tree->expandAll();
    m_tree->resizeColumnToContents(NameColumn);
}

void LumexExtraDataDialog::reset()
{
    setPreserveExtraData(true);
}

QTreeWidgetItem* LumexExtraDataDialog::itemFor(const LumexTreeElement* a_node)
{
    // Children first: a node is listed only when something below it, or the node itself, is extra
    // data, and asking that of every node on the way down would walk each subtree again per level.
    QList<QTreeWidgetItem*> childItems;
    for (const LumexTreeElement* child : a_node->childElements()) {
        if (QTreeWidgetItem* childItem = itemFor(child))
            childItems.append(childItem);
    }
    const bool extra = !a_node->isSchemaCompliant();
    if (!extra && childItems.isEmpty())
        return nullptr;
    m_hasExtraData = m_hasExtraData || extra;

    auto* item = new QTreeWidgetItem();
    const QString value = fullValue(a_node);
    item->setText(NameColumn, displayName(a_node));
    item->setText(ValueColumn, value.simplified());
    if (value.simplified() != value)
        item->setToolTip(ValueColumn, value);
    item->setData(NameColumn, ExtraDataRole, extra);
    if (!extra) {
        // Context only: shown the way disabled text is, so that the extra data stands out.
        const QBrush muted = m_tree->palette().brush(QPalette::Disabled, QPalette::Text);
        item->setForeground(NameColumn, muted);
        item->setForeground(ValueColumn, muted);
    }
    item->addChildren(childItems);
    return item;
}

} // namespace Orvex
