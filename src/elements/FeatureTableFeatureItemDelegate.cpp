#include "elements/FeatureTableFeatureItemDelegate.h"

#include "elements/FeatureTableFeatureModel.h"
#include "elements/NumericFeature.h"
#include "elements/ValueFeatureElementBase.h"

#include <QAbstractItemView>
#include <QAbstractSpinBox>
#include <QApplication>
#include <QDoubleSpinBox>
#include <QKeyEvent>
#include <QLayout>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPainter>
#include <QTimer>

#include <algorithm>

namespace Orvex {

namespace {

// Long enough for the click that opened the editor to have settled, which would otherwise put the
// cursor where it landed and undo the selection.
constexpr int s_selectAllDelayMs = 20;

// Editors in cells are drawn over the row's selection colour; without their own background they would
// be hard to tell from the cell around them. Set on each editor rather than on the view: a style sheet
// on the view would put the whole table, its header and scroll bars through the style sheet machinery
// on every page that shows one, while only the editor needs it.
const char* const s_editorStyleSheet = "QLineEdit, QAbstractSpinBox {background-color:white;}";

const FeatureTableFeatureModel* tableModel(const QModelIndex& a_index)
{
    return qobject_cast<const FeatureTableFeatureModel*>(a_index.model());
}

// The field of a member's editor, which the cell edits: the value widget of instance 0, not the editor
// around it.
QWidget* valueWidgetOf(const FeatureElementBase* a_member)
{
    QWidget* input = a_member ? a_member->editorWidget(0) : nullptr;
    return input && input != a_member->widget() ? input : nullptr;
}

void selectAllText(QWidget* a_input)
{
    if (auto* lineEdit = qobject_cast<QLineEdit*>(a_input))
        lineEdit->selectAll();
    else if (auto* spinBox = qobject_cast<QAbstractSpinBox*>(a_input))
        spinBox->selectAll();
}

} // namespace

FeatureTableFeatureItemDelegate::FeatureTableFeatureItemDelegate(QAbstractItemView* a_view)
    : QStyledItemDelegate(a_view), m_view(a_view), m_viewport(a_view->viewport())
{
    m_viewport->installEventFilter(this);
    if (QAbstractItemModel* model = a_view->model())
        connect(model, &QAbstractItemModel::modelReset, this, [this] { m_editorSizes.clear(); });
}

FeatureTableFeatureItemDelegate::~FeatureTableFeatureItemDelegate() = default;

bool FeatureTableFeatureItemDelegate::isButtonCell(const QModelIndex& a_index)
{
    return (a_index.column() == FeatureTableFeatureModel::InsertColumn ||
            a_index.column() == FeatureTableFeatureModel::RemoveColumn) &&
           tableModel(a_index) && a_index.data().isValid();
}

bool FeatureTableFeatureItemDelegate::isHandleCell(const QModelIndex& a_index)
{
    const FeatureTableFeatureModel* model = tableModel(a_index);
    return model && a_index.column() == FeatureTableFeatureModel::HandleColumn &&
           a_index.row() < model->instanceRows();
}

void FeatureTableFeatureItemDelegate::paint(QPainter* a_painter, const QStyleOptionViewItem& a_option,
                                            const QModelIndex& a_index) const
{
    if (!isButtonCell(a_index)) {
        QStyledItemDelegate::paint(a_painter, a_option, a_index);
        return;
    }
    const QWidget* widget = a_option.widget;
    QStyle* style = widget ? widget->style() : QApplication::style();

    // The cell's own background first, so that a selected row stays marked behind its buttons.
    QStyleOptionViewItem cell = a_option;
    initStyleOption(&cell, a_index);
    cell.text.clear();
    style->drawControl(QStyle::CE_ItemViewItem, &cell, a_painter, widget);

    QStyleOptionButton button;
    button.rect = a_option.rect.adjusted(1, 1, -1, -1);
    button.text = a_index.data().toString();
    button.palette = a_option.palette;
    button.fontMetrics = a_option.fontMetrics;
    button.direction = a_option.direction;
    if (a_index.flags() & Qt::ItemIsEnabled)
        button.state |= QStyle::State_Enabled;
    button.state |= m_pressedButton == a_index ? QStyle::State_Sunken : QStyle::State_Raised;
    style->drawControl(QStyle::CE_PushButton, &button, a_painter, widget);
}

QSize FeatureTableFeatureItemDelegate::sizeHint(const QStyleOptionViewItem& a_option,
                                                const QModelIndex& a_index) const
{
    const QSize hint = QStyledItemDelegate::sizeHint(a_option, a_index);
    const QWidget* widget = a_option.widget;
    const QStyle* style = widget ? widget->style() : QApplication::style();
    const int margin = style->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, widget) + 1;
    if (!m_sampleSize.isValid() || a_option.font != m_sampleFont) {
        m_sampleFont = a_option.font;
        m_sampleSize = QFontMetrics(m_sampleFont).size(Qt::TextSingleLine, QLatin1String(SampleText));
    }
    const QSize sample = m_sampleSize;
    int height = std::max(hint.height(), sample.height() + 2 * margin);

    if (a_index.column() < FeatureTableFeatureModel::FirstMemberColumn) {
        // Buttons are at least square.
        const bool button = a_index.column() != FeatureTableFeatureModel::HandleColumn;
        return QSize(button ? std::max(hint.width(), height) : hint.width(), height);
    }
    const QSize editor = editorSize(tableModel(a_index), a_index.column());
    height = std::max(height, editor.height());
    // Some editors ask for the width of hundreds of digits; no column needs more than a sentence.
    const int width = std::min(std::max(hint.width(), editor.width()), sample.width() + 2 * margin);
    return QSize(width, height);
}

QSize FeatureTableFeatureItemDelegate::editorSize(const FeatureTableFeatureModel* a_model, int a_column) const
{
    const auto cached = m_editorSizes.constFind(a_column);
    if (cached != m_editorSizes.constEnd())
        return *cached;
    QSize size;
    if (const auto* valueTemplate = qobject_cast<const ValueFeatureElementBase*>(
            a_model ? a_model->memberTemplate(a_column) : nullptr))
        size = valueTemplate->maxSize();
    m_editorSizes.insert(a_column, size);
    return size;
}

QWidget* FeatureTableFeatureItemDelegate::createEditor(QWidget* a_parent, const QStyleOptionViewItem&,
                                                       const QModelIndex& a_index) const
{
    const FeatureTableFeatureModel* model = tableModel(a_index);
    FeatureElementBase* member = model ? model->memberAt(a_index) : nullptr;
    if (!member || !(a_index.flags() & Qt::ItemIsEditable))
        return nullptr;

    QWidget* editor = member->createWidget();
    editor->setParent(a_parent);
    editor->setStyleSheet(QLatin1String(s_editorStyleSheet));
    editor->setAutoFillBackground(true);
    editor->setLayoutDirection(QGuiApplication::layoutDirection());
    if (QWidget* input = valueWidgetOf(member)) {
        editor->setFocusProxy(input);
        input->installEventFilter(const_cast<FeatureTableFeatureItemDelegate*>(this));
        QTimer::singleShot(s_selectAllDelayMs, input, [input] {
            input->setFocus();
            selectAllText(input);
        });
    }
    m_openEditors.append({editor, member});
    return editor;
}

void FeatureTableFeatureItemDelegate::setEditorData(QWidget*, const QModelIndex&) const
{
}

void FeatureTableFeatureItemDelegate::setModelData(QWidget* a_editor, QAbstractItemModel*,
                                                   const QModelIndex&) const
{
    auto* member = qobject_cast<ValueFeatureElementBase*>(editorMember(a_editor));
    QWidget* input = valueWidgetOf(member);
    if (!member || !input || member->instanceCount() == 0)
        return;
    // Text the validator does not accept yet is no value; the line edit would not commit it either.
    if (auto* lineEdit = qobject_cast<QLineEdit*>(input); lineEdit && !lineEdit->hasAcceptableInput())
        return;

    QVariant value;
    if (auto* numeric = qobject_cast<NumericFeature*>(member)) {
        auto* spinBox = qobject_cast<QDoubleSpinBox*>(input);
        if (!spinBox)
            return;
        spinBox->interpretText();
        // As the spin box's own edit signal is read: a spin box still showing the stored value is no
        // edit, even where the double it holds is not exactly that value.
        const QVariant stored = numeric->fixedValue().isValid() ? numeric->fixedValue() : numeric->value(0);
        const QVariant shown = numeric->boundedValue(stored);
        if (shown.isValid() && shown.toDouble() == spinBox->value())
            return;
        value = NumericFeature::normalizedValue(spinBox->value(), numeric->representationType());
    } else {
        value = input->property(member->valueProperty().toLatin1().constData());
    }
    member->userSetValue(size_t(0), value);
}

void FeatureTableFeatureItemDelegate::destroyEditor(QWidget* a_editor, const QModelIndex& a_index) const
{
    for (auto entry = m_openEditors.begin(); entry != m_openEditors.end(); ++entry) {
        if (entry->editor != a_editor)
            continue;
        if (entry->member && entry->member->widget() == a_editor)
            entry->member->setWidget(nullptr);
        m_openEditors.erase(entry);
        break;
    }
    m_openEditors.erase(std::remove_if(m_openEditors.begin(), m_openEditors.end(),
                                       [](const OpenEditor& a_entry) { return !a_entry.editor; }),
                        m_openEditors.end());
    QStyledItemDelegate::destroyEditor(a_editor, a_index);
}

FeatureElementBase* FeatureTableFeatureItemDelegate::editorMember(const QWidget* a_editor) const
{
    for (const OpenEditor& entry : m_openEditors) {
        if (entry.editor == a_editor)
            return entry.member;
    }
    return nullptr;
}

QWidget* FeatureTableFeatureItemDelegate::openEditorHolding(QObject* a_object) const
{
    for (QObject* ancestor = a_object; ancestor; ancestor = ancestor->parent()) {
        for (const OpenEditor& entry : m_openEditors) {
            if (entry.editor && entry.editor == ancestor)
                return entry.editor;
        }
    }
    return nullptr;
}

bool FeatureTableFeatureItemDelegate::eventFilter(QObject* a_object, QEvent* a_event)
{
    if (m_viewport && a_object == m_viewport)
        return viewportMouseEvent(a_event);
    if (QWidget* editor = openEditorHolding(a_object)) {
        if (a_event->type() == QEvent::KeyPress &&
            static_cast<QKeyEvent*>(a_event)->key() == Qt::Key_Escape) {
            // The editor's value widget finishes its edit when it loses the focus as the editor closes,
            // and that would store what Escape is meant to throw away.
            if (auto* member = qobject_cast<ValueFeatureElementBase*>(editorMember(editor)))
                member->discardWidgetEdits();
        }
        return QStyledItemDelegate::eventFilter(editor, a_event);
    }
    return QStyledItemDelegate::eventFilter(a_object, a_event);
}

bool FeatureTableFeatureItemDelegate::viewportMouseEvent(QEvent* a_event)
{
    const QEvent::Type type = a_event->type();
    if (type != QEvent::MouseButtonPress && type != QEvent::MouseButtonDblClick &&
        type != QEvent::MouseButtonRelease && type != QEvent::MouseMove)
        return false;
    const auto* mouse = static_cast<const QMouseEvent*>(a_event);
    // While a button is held down, the mouse belongs to it.
    if (type == QEvent::MouseMove)
        return m_pressedButton.isValid();

    const QModelIndex index = m_view->indexAt(mouse->pos());
    if (type == QEvent::MouseButtonRelease) {
        if (!m_pressedButton.isValid())
            return false;
        const QModelIndex pressed = m_pressedButton;
        m_pressedButton = QPersistentModelIndex();
        m_view->viewport()->update(m_view->visualRect(pressed));
        if (mouse->button() == Qt::LeftButton && index == pressed) {
            const size_t row = size_t(index.row());
            if (index.column() == FeatureTableFeatureModel::InsertColumn)
                emit insertButtonClicked(row);
            else
                emit removeButtonClicked(row);
        }
        return true;
    }

    if (mouse->button() != Qt::LeftButton)
        return false;
    m_view->setDragEnabled(isHandleCell(index));
    if (!isButtonCell(index))
        return false;
    if (index.flags() & Qt::ItemIsEnabled) {
        m_pressedButton = index;
        m_view->viewport()->update(m_view->visualRect(index));
    }
    return true;
}

} // namespace Orvex
