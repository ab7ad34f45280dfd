#include "elements/CategoryElementBase.h"

#include "elements/FeatureEnableCheckBox.h"

#include "elements/FeatureElementBase.h"
#include "elements/FeatureListFeatureBase.h"
#include "elements/WindowElement.h"
#include "widgets/KeptSizeCheckBox.h"
#include "widgets/KeptSizeLabel.h"
#include "widgets/ScrollBarRoom.h"
#include "widgets/StandardIcons.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QFormLayout>
#include <QHash>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QScrollArea>
#include <QStyle>
#include <QVBoxLayout>
#include <QtDebug>

#include <algorithm>
#include <memory>

namespace Orvex {

namespace {

// Whether the name of a_feature, or of a member of it at any depth, holds a_text whatever its case: the
// row of a list shows its members, and a user filtering for one looks for that row.
bool nameHolds(const FeatureElementBase* a_feature, const QString& a_text)
{
    if (a_feature->name().contains(a_text, Qt::CaseInsensitive))
        return true;
    const auto* list = qobject_cast<const FeatureListFeatureBase*>(a_feature);
    const QVector<FeatureElementBase*> members =
        list ? list->memberTemplates() : QVector<FeatureElementBase*>();
    return std::any_of(members.cbegin(), members.cend(),
                       [&a_text](const FeatureElementBase* a_member) { return nameHolds(a_member, a_text); });
}

} // namespace

CategoryElementBase::CategoryElementBase(const CategoryElementBase* a_source, ElementBase* a_parentElement)
    : WidgetElementBase(a_source, a_parentElement)
{
    if (!a_source)
        return;
    const QVector<FeatureElementBase*> originals = a_source->features();
    m_features.reserve(originals.size());
    for (FeatureElementBase* original : originals) {
        FeatureElementBase* copy = FeatureListFeatureBase::cloneMember(original, this);
        // A fresh copy is none of the features yet and the page does not exist: addFeature's checks,
        // made for every feature, would make copying a category quadratic in its features.
        if (copy)
            m_features.append(copy);
        else
            qWarning() << "Category" << name() << "cannot copy its feature" << original->name();
    }
}

CategoryElementBase::~CategoryElementBase() = default;

QVector<FeatureElementBase*> CategoryElementBase::features() const
{
    QVector<FeatureElementBase*> living;
    living.reserve(m_features.size());
    for (const QPointer<FeatureElementBase>& feature : m_features) {
        if (feature)
            living.append(feature);
    }
    return living;
}

FeatureElementBase* CategoryElementBase::feature(const QString& a_name) const
{
    for (const QPointer<FeatureElementBase>& feature : m_features) {
        if (feature && feature->name() == a_name)
            return feature;
    }
    return nullptr;
}

bool CategoryElementBase::addFeature(FeatureElementBase* a_feature)
{
    if (!a_feature || a_feature->parentElement() != this || m_features.contains(a_feature))
        return false;
    // Features that are gone are dropped here rather than each followed by a connection: a large file
    // holds tens of thousands of them.
    dropDestroyedFeatures();
    m_features.append(a_feature);
    if (m_form)
        addFeatureRow(a_feature);
    return true;
}

QWidget* CategoryElementBase::createWidget()
{
    if (widget())
        return widget();

    auto* page = new QScrollArea;
    page->setWidgetResizable(true);
    page->setFrameShape(QFrame::NoFrame);
    auto* content = new QWidget;
    content->setObjectName(QStringLiteral("TransparentWidget"));
    auto* layout = new QVBoxLayout(content);
    auto* filter = new QLineEdit(content);
    filter->setObjectName(QStringLiteral("CategoryFilter"));
    filter->setPlaceholderText(QStringLiteral("Filter features by name"));
    // A clear button of its own, shown while there is text to clear, for the icon made once.
    QAction* clear = filter->addAction(StandardIcons::of(filter->style(), QStyle::SP_LineEditClearButton),
                                       QLineEdit::TrailingPosition);
    clear->setVisible(false);
    connect(clear, &QAction::triggered, filter, &QLineEdit::clear);
    connect(filter, &QLineEdit::textChanged, clear,
            [clear](const QString& a_text) { clear->setVisible(!a_text.isEmpty()); });
    connect(filter, &QLineEdit::textChanged, this, &CategoryElementBase::filterFeatures);
    m_filterField = filter;
    layout->addWidget(filter);
    m_formWidget = new QWidget(content);
    m_formWidget->setObjectName(QStringLiteral("TransparentWidget"));
    m_form = new QFormLayout(m_formWidget);
    layout->addWidget(m_formWidget);
    layout->addStretch();
    // Set before the features build their widgets, which they make children of this one.
    setWidget(page);

    for (FeatureElementBase* feature : features())
        addFeatureRow(feature);
    // Given to the page only once the rows are in: the page lays its content out at once, and would
    // keep the size of an empty form until the form itself appears, laying the rows out again, at a
    // new size, for every level that appears after it.
    page->setWidget(content);
    // The window behind shows through, in the colour the area and its content would fill themselves
    // with. Filling made them opaque, and a tab switch marks every widget of the page for repainting:
    // Qt then paints an opaque content on its own, and again with the widgets around it, every field of
    // the page drawn twice on each return to it.
    content->setAutoFillBackground(false);
    page->viewport()->setAutoFillBackground(false);
    ScrollBarRoom::keep(page);
    return page;
}

void CategoryElementBase::filterFeatures(const QString& a_text)
{
    if (!m_form)
        return;
    m_filter = a_text;
    fitLabelColumn();
    const FormRow* previous = nullptr;
    for (FormRow& row : m_rows) {
        if (!row.label)
            continue;
        const bool shown = row.feature && nameHolds(row.feature, a_text);
        placeRow(row, previous, shown);
        if (row.inForm)
            previous = &row;
    }
}

void CategoryElementBase::setLabelColumnWidth(int a_width)
{
    if (a_width == m_labelColumnWidth)
        return;
    m_labelColumnWidth = a_width;
    fitLabelColumn();
}

int CategoryElementBase::naturalLabelColumnWidth() const
{
    int widest = 0;
    for (const FormRow& row : m_rows) {
        if (row.label && row.editor)
            widest = qMax(widest, row.label->sizeHint().width());
    }
    return widest;
}

int CategoryElementBase::labelColumnWidthOf(const QVector<CategoryElementBase*>& a_categories)
{
    // Measured once per name and kind of label: every mode of a file has the same features.
    static QHash<QString, int> measured;
    constexpr int MeasuredNames = 4096;
    // Of the kinds the pages make, so that the hints measured here serve the pages' labels as well.
    std::unique_ptr<KeptSizeLabel> label;
    std::unique_ptr<KeptSizeCheckBox> box;
    const QString look = QApplication::font().key() + QString::number(quintptr(QApplication::style()));
    int widest = 0;
    for (const CategoryElementBase* category : a_categories) {
        for (const FeatureElementBase* feature :
             category ? category->features() : QVector<FeatureElementBase*>()) {
            // The label addFeatureRow makes: a check box for a feature that is switched on and off.
            const bool toggle = feature->isToggleFeature();
            const QString key = look + (toggle ? QLatin1Char('t') : QLatin1Char('l')) + feature->name();
            auto found = measured.constFind(key);
            if (found == measured.constEnd()) {
                QWidget* probe = nullptr;
                if (toggle) {
                    if (!box)
                        box = std::make_unique<KeptSizeCheckBox>(QString());
                    box->setText(feature->name());
                    probe = box.get();
                } else {
                    if (!label)
                        label = std::make_unique<KeptSizeLabel>(QString());
                    label->setText(feature->name());
                    probe = label.get();
                }
                if (measured.size() >= MeasuredNames)
                    measured.clear();
                found = measured.insert(key, probe->sizeHint().width());
            }
            widest = qMax(widest, *found);
        }
    }
    return widest;
}

void CategoryElementBase::fitLabelColumn()
{
    // While filtered, the column the page has unfiltered: as wide as its widest label, hidden ones
    // included.
    const int width =
        m_filter.isEmpty() ? m_labelColumnWidth : qMax(m_labelColumnWidth, naturalLabelColumnWidth());
    for (const FormRow& row : qAsConst(m_rows)) {
        if (row.label && row.editor && row.label->minimumWidth() != width)
            row.label->setMinimumWidth(width);
    }
}

void CategoryElementBase::revealFeature(const QObject* a_element)
{
    if (m_filter.isEmpty() || !m_filterField)
        return;
    const QObject* feature = a_element;
    while (feature && feature->parent() != this)
        feature = feature->parent();
    for (const FormRow& row : qAsConst(m_rows)) {
        if (feature && row.feature == feature && !row.inForm) {
            m_filterField->clear();
            return;
        }
    }
}

void CategoryElementBase::placeRow(FormRow& a_row, const FormRow* a_previous, bool a_shown)
{
    // Qt's form layout keeps the spacing of a row whose widgets are hidden, so a hidden feature's row
    // leaves the form, and comes back at its place.
    if (a_shown && !a_row.inForm) {
        int position = 0;
        QFormLayout::ItemRole role = QFormLayout::LabelRole;
        if (a_previous) {
            m_form->getWidgetPosition(a_previous->label, &position, &role);
            ++position;
        }
        if (a_row.editor)
            m_form->insertRow(position, a_row.label, a_row.editor);
        else
            m_form->insertRow(position, a_row.label);
    } else if (!a_shown && a_row.inForm) {
        int position = -1;
        QFormLayout::ItemRole role = QFormLayout::LabelRole;
        m_form->getWidgetPosition(a_row.label, &position, &role);
        if (position >= 0) {
            const QFormLayout::TakeRowResult taken = m_form->takeRow(position);
            delete taken.labelItem;
            delete taken.fieldItem;
        }
    }
    a_row.inForm = a_shown;
    a_row.label->setVisible(a_shown);
    if (a_row.editor)
        a_row.editor->setVisible(a_shown);
}

void CategoryElementBase::highlight(size_t)
{
    highlightContainers({m_formWidget.data()});
}

QVBoxLayout* CategoryElementBase::contentLayout() const
{
    const auto* page = qobject_cast<QScrollArea*>(widget());
    QWidget* content = page ? page->widget() : nullptr;
    return content ? qobject_cast<QVBoxLayout*>(content->layout()) : nullptr;
}

void CategoryElementBase::addFeatureRow(FeatureElementBase* a_feature)
{
    // An optional feature that occurs at most once has no buttons of its own: its label is the box
    // that switches it on and off.
    QWidget* label = nullptr;
    if (a_feature->isToggleFeature()) {
        label = new FeatureEnableCheckBox(a_feature, m_formWidget);
    } else {
        label = new KeptSizeLabel(a_feature->name(), m_formWidget);
        label->setToolTip(a_feature->annotation());
    }
    QWidget* editor = a_feature->createWidget();
    if (editor)
        m_form->addRow(label, editor);
    else
        m_form->addRow(label);
    m_rows.append({a_feature, label, editor, true});
    // A feature added while the page is filtered is filtered as well.
    if (!m_filter.isEmpty())
        filterFeatures(m_filter);
    else if (editor && m_labelColumnWidth > 0)
        label->setMinimumWidth(m_labelColumnWidth);
}

void CategoryElementBase::dropDestroyedFeatures()
{
    m_features.erase(
        std::remove_if(m_features.begin(), m_features.end(),
                       [](const QPointer<FeatureElementBase>& a_feature) { return a_feature.isNull(); }),
        m_features.end());
}

} // namespace Orvex
