#include "app/CameraTreeModel.h"

#include "elements/CameraElement.h"
#include "elements/ModeElement.h"
#include "elements/UndoRedoModeClone.h"
#include "elements/UndoRedoModeDelete.h"
#include "elements/UndoRedoModeOrderReinsert.h"
#include "elements/UndoRedoModeOrderSwap.h"
#include "elements/UndoRedoPropertySet.h"
#include "elements/UndoRedoStack.h"
#include "elements/WindowElement.h"
#include "widgets/DialogSeam.h"
#include "widgets/StandardIcons.h"

#include <QApplication>
#include <QFont>
#include <QIcon>
#include <QItemSelectionModel>
#include <QMimeData>
#include <QRegularExpression>
#include <QStyle>

namespace Orvex {

namespace {

// internalId of the two kinds of item.
constexpr quintptr CameraItem = 0;
constexpr quintptr ModeItem = 1;

const QRegularExpression s_markupCharacters(QStringLiteral("[@<>&'\"]"));
const QRegularExpression s_whiteSpace(QStringLiteral("\\s+"), QRegularExpression::UseUnicodePropertiesOption);

} // namespace

CameraTreeModel::CameraTreeModel(QWidget* a_dialogParent, QObject* a_parent)
    : QAbstractItemModel(a_parent), m_dialogParent(a_dialogParent)
{
    m_selection = new QItemSelectionModel(this, this);
    connect(m_selection, &QItemSelectionModel::currentChanged, this, &CameraTreeModel::treeChanged);
}

CameraTreeModel::~CameraTreeModel() = default;

void CameraTreeModel::setWindowElement(WindowElement* a_window)
{
    if (m_camera)
        disconnect(m_camera, nullptr, this, nullptr);
    if (m_window && m_window->undoRedoStack())
        disconnect(m_window->undoRedoStack(), nullptr, this, nullptr);
    m_window = a_window;
    m_camera = a_window ? a_window->camera() : nullptr;
    if (m_camera) {
        connect(m_camera, &CameraElement::modeInserted, this, &CameraTreeModel::onModeInserted);
        connect(m_camera, &CameraElement::modeRemoved, this, &CameraTreeModel::onModeRemoved);
        connect(m_camera, &CameraElement::modeMoved, this, &CameraTreeModel::onModeMoved);
        // Renames arrive as property writes of undo and redo, which the element does not announce.
        connect(a_window->undoRedoStack(), &ActionStack::stateChanged, this, &CameraTreeModel::refreshLabels);
    }
    reload();
}

WindowElement* CameraTreeModel::windowElement() const
{
    return m_window;
}

CameraElement* CameraTreeModel::camera() const
{
    return m_camera;
}

void CameraTreeModel::reload()
{
    beginResetModel();
    m_modes.clear();
    m_names.clear();
    if (m_camera) {
        for (ModeElement* mode : m_camera->modes()) {
            m_modes.append(mode);
            m_names.append(mode->name());
        }
    }
    m_namesChecked = ElementBase::nameGeneration();
    endResetModel();
    emit treeChanged();
    emit labelsChanged();
}

QModelIndex CameraTreeModel::cameraIndex() const
{
    return m_camera ? createIndex(0, 0, CameraItem) : QModelIndex();
}

QModelIndex CameraTreeModel::modeIndex(int a_position) const
{
    if (!m_camera || a_position < 0 || a_position >= m_modes.size())
        return QModelIndex();
    return createIndex(a_position, 0, ModeItem);
}

int CameraTreeModel::modePosition(const QModelIndex& a_index) const
{
    if (!a_index.isValid() || a_index.model() != this || a_index.internalId() != ModeItem)
        return -1;
    return a_index.row();
}

ModeElement* CameraTreeModel::selectedMode() const
{
    const int position = selectedPosition();
    return position >= 0 ? m_modes.value(position).data() : nullptr;
}

int CameraTreeModel::selectedPosition() const
{
    return modePosition(m_selection->currentIndex());
}

bool CameraTreeModel::canCloneMode() const
{
    return m_window && selectedMode();
}

bool CameraTreeModel::canDeleteMode() const
{
    return m_window && selectedMode() && m_modes.size() > 1;
}

bool CameraTreeModel::canMoveMode() const
{
    return m_window && selectedMode() && m_modes.size() > 1;
}

bool CameraTreeModel::canEditModeName() const
{
    return m_window && selectedMode();
}

bool CameraTreeModel::renameMode(ModeElement* a_mode, const QString& a_name)
{
    if (!m_window || !m_camera || !a_mode || m_camera->indexOfMode(a_mode) < 0)
        return false;
    if (a_name.contains(s_markupCharacters)) {
        DialogSeam::warning(m_dialogParent, QStringLiteral("Mode Name Error"),
                            QStringLiteral("Modes names may not contain the following characters: <b>@</b> "
                                           "<b>&lt;</b> <b>&gt;</b> <b>&amp;</b> <b>'</b> <b>&quot;</b>"));
        emit renameRefused(modeIndex(m_camera->indexOfMode(a_mode)), a_name);
        return false;
    }
    QString name = a_name;
    name.remove(s_whiteSpace);
    // Clearing the name in place is taken as changing one's mind, not as asking for "Default".
    if (name.isEmpty() || name == a_mode->name())
        return false;
    const ModeElement* holder = m_camera->modeByName(name);
    if (holder && holder != a_mode) {
        DialogSeam::warning(
            m_dialogParent, QStringLiteral("Mode Name Error"),
            QStringLiteral("<html>A different mode already has the name \"%1\". Duplicate mode "
                           "names are not allowed.")
                .arg(name));
        emit renameRefused(modeIndex(m_camera->indexOfMode(a_mode)), a_name);
        return false;
    }
    name = m_camera->uniqueModeName(name, a_mode);
    const QString old = a_mode->name();
    if (name == old)
        return false;
    a_mode->setProperty("name", name);
    push(QSharedPointer<UndoRedoPropertySet>::create(m_window, a_mode, QByteArrayLiteral("name"), old, name));
    refreshLabels();
    if (name != a_name) {
        // A name the user did not type is no surprise once it has been told.
        DialogSeam::information(
            m_dialogParent, QStringLiteral("Mode Renamed"),
            QStringLiteral("<html>The mode is named \"%1\", not \"%2\": mode names hold no white space and "
                           "are unique.")
                .arg(name.toHtmlEscaped(), a_name.toHtmlEscaped()));
    }
    return true;
}

QModelIndex CameraTreeModel::index(int a_row, int a_column, const QModelIndex& a_parent) const
{
    if (!m_camera || a_column != 0 || a_row < 0)
        return QModelIndex();
    if (!a_parent.isValid())
        return a_row == 0 ? cameraIndex() : QModelIndex();
    if (a_parent.internalId() == CameraItem)
        return modeIndex(a_row);
    return QModelIndex();
}

QModelIndex CameraTreeModel::parent(const QModelIndex& a_index) const
{
    if (a_index.isValid() && a_index.internalId() == ModeItem)
        return cameraIndex();
    return QModelIndex();
}

int CameraTreeModel::rowCount(const QModelIndex& a_parent) const
{
    if (!m_camera || a_parent.column() > 0)
        return 0;
    if (!a_parent.isValid())
        return 1;
    return a_parent.internalId() == CameraItem ? m_modes.size() : 0;
}

int CameraTreeModel::columnCount(const QModelIndex&) const
{
    return 1;
}

QVariant CameraTreeModel::data(const QModelIndex& a_index, int a_role) const
{
    if (!a_index.isValid() || a_index.model() != this)
        return QVariant();
    const bool isCamera = a_index.internalId() == CameraItem;
    switch (a_role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
        return isCamera ? QStringLiteral("Camera") : m_names.value(a_index.row());
    case Qt::ToolTipRole:
        return isCamera ? QStringLiteral("The camera's global features") : m_names.value(a_index.row());
    case Qt::DecorationRole:
        return StandardIcons::of(QApplication::style(),
                                 isCamera ? QStyle::SP_ComputerIcon : QStyle::SP_FileDialogDetailedView);
    case Qt::FontRole:
        if (isCamera) {
            QFont font;
            font.setBold(true);
            return font;
        }
        return QVariant();
    default:
        return QVariant();
    }
}

bool CameraTreeModel::setData(const QModelIndex& a_index, const QVariant& a_value, int a_role)
{
    if (a_role != Qt::EditRole)
        return false;
    const int position = modePosition(a_index);
    if (position < 0)
        return false;
    return renameMode(m_modes.value(position), a_value.toString());
}

Qt::ItemFlags CameraTreeModel::flags(const QModelIndex& a_index) const
{
    if (!a_index.isValid())
        return Qt::NoItemFlags;
    // Modes are dropped between the camera's rows, never onto a row: the view asks the parent.
    if (a_index.internalId() == CameraItem)
        return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDropEnabled;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsEditable | Qt::ItemIsDragEnabled |
           Qt::ItemNeverHasChildren;
}

QStringList CameraTreeModel::mimeTypes() const
{
    return {QString::fromLatin1(modeNameMimeType)};
}

QMimeData* CameraTreeModel::mimeData(const QModelIndexList& a_indexes) const
{
    for (const QModelIndex& index : a_indexes) {
        const int position = modePosition(index);
        if (position < 0)
            continue;
        auto* mime = new QMimeData;
        mime->setData(QString::fromLatin1(modeNameMimeType), m_names.value(position).toUtf8());
        mime->setText(m_names.value(position));
        m_dragData = mime;
        m_dragMode = m_modes.value(position);
        return mime;
    }
    return nullptr;
}

Qt::DropActions CameraTreeModel::supportedDragActions() const
{
    return Qt::CopyAction;
}

bool CameraTreeModel::canDropMimeData(const QMimeData* a_data, Qt::DropAction, int a_row, int,
                                      const QModelIndex& a_parent) const
{
    if (!m_window || !m_camera || m_modes.size() < 2 || !a_data || a_data != m_dragData || !m_dragMode)
        return false;
    if (a_parent != cameraIndex() || a_row < 0 || a_row > m_modes.size())
        return false;
    const int from = m_camera->indexOfMode(m_dragMode);
    return from >= 0 && a_row != from && a_row != from + 1;
}

bool CameraTreeModel::dropMimeData(const QMimeData* a_data, Qt::DropAction a_action, int a_row, int a_column,
                                   const QModelIndex& a_parent)
{
    if (!canDropMimeData(a_data, a_action, a_row, a_column, a_parent))
        return false;
    ModeElement* moved = m_dragMode;
    const int from = m_camera->indexOfMode(moved);
    ModeElement* newSuccessor = m_camera->mode(a_row);
    ModeElement* oldSuccessor = m_camera->mode(from + 1);
    const int to = from < a_row ? a_row - 1 : a_row;
    if (!m_camera->moveMode(from, to))
        return false;
    push(QSharedPointer<UndoRedoModeOrderReinsert>::create(m_window, moved, newSuccessor, oldSuccessor));
    selectPosition(m_camera->indexOfMode(moved));
    return true;
}

void CameraTreeModel::cloneMode()
{
    ModeElement* source = selectedMode();
    if (!canCloneMode() || !source)
        return;
    ModeElement* clone = source->clone();
    const int position = m_camera->insertMode(selectedPosition() + 1, clone);
    if (position < 0) {
        delete clone;
        return;
    }
    push(QSharedPointer<UndoRedoModeClone>::create(m_window, source, position));
    selectPosition(position);
}

void CameraTreeModel::deleteMode()
{
    if (!canDeleteMode())
        return;
    const int position = selectedPosition();
    ModeElement* mode = m_camera->takeMode(position);
    if (!mode)
        return;
    push(QSharedPointer<UndoRedoModeDelete>::create(m_window, mode, position));
    selectPosition(qMin(position, m_modes.size() - 1));
}

void CameraTreeModel::moveModeUp()
{
    moveMode(true);
}

void CameraTreeModel::moveModeDown()
{
    moveMode(false);
}

void CameraTreeModel::moveMode(bool a_up)
{
    if (!canMoveMode())
        return;
    const int count = m_modes.size();
    const int position = selectedPosition();
    const int target = a_up ? (position + count - 1) % count : (position + 1) % count;
    ModeElement* moved = m_camera->mode(position);
    ModeElement* other = m_camera->mode(target);
    if (!moved || !other || moved == other)
        return;
    // The two exchange places, so moving past either end swaps with the mode at the other end.
    const int low = qMin(position, target);
    const int high = qMax(position, target);
    if (!m_camera->moveMode(low, high) || !m_camera->moveMode(high - 1, low))
        return;
    push(QSharedPointer<UndoRedoModeOrderSwap>::create(m_window, other, moved));
    selectPosition(m_camera->indexOfMode(moved));
}

void CameraTreeModel::editModeName()
{
    if (canEditModeName())
        emit editRequested(m_selection->currentIndex());
}

void CameraTreeModel::selectPosition(int a_position)
{
    const QModelIndex target = a_position < 0 ? cameraIndex() : modeIndex(a_position);
    if (!target.isValid() || target == m_selection->currentIndex())
        return;
    m_selection->setCurrentIndex(target, QItemSelectionModel::ClearAndSelect);
}

void CameraTreeModel::push(const QSharedPointer<ActionBase>& a_command)
{
    if (m_window && m_window->undoRedoStack())
        m_window->undoRedoStack()->push(a_command);
}

void CameraTreeModel::onModeInserted(int a_position)
{
    ModeElement* mode = m_camera ? m_camera->mode(a_position) : nullptr;
    if (!mode || a_position > m_modes.size()) {
        reload();
        return;
    }
    m_changingRows = true;
    beginInsertRows(cameraIndex(), a_position, a_position);
    m_modes.insert(a_position, mode);
    m_names.insert(a_position, mode->name());
    endInsertRows();
    m_changingRows = false;
    emit treeChanged();
    emit labelsChanged();
}

void CameraTreeModel::onModeRemoved(int a_position)
{
    if (a_position < 0 || a_position >= m_modes.size()) {
        reload();
        return;
    }
    m_changingRows = true;
    beginRemoveRows(cameraIndex(), a_position, a_position);
    m_modes.removeAt(a_position);
    m_names.removeAt(a_position);
    endRemoveRows();
    m_changingRows = false;
    emit treeChanged();
    emit labelsChanged();
}

void CameraTreeModel::onModeMoved(int a_from, int a_to)
{
    const int count = m_modes.size();
    if (a_from < 0 || a_from >= count || a_to < 0 || a_to >= count) {
        reload();
        return;
    }
    if (a_from == a_to)
        return;
    m_changingRows = true;
    beginMoveRows(cameraIndex(), a_from, a_from, cameraIndex(), a_to > a_from ? a_to + 1 : a_to);
    m_modes.move(a_from, a_to);
    m_names.move(a_from, a_to);
    endMoveRows();
    m_changingRows = false;
    emit treeChanged();
    emit labelsChanged();
}

void CameraTreeModel::refreshLabels()
{
    // Runs after every edit, undo and redo; almost none of them renames anything.
    if (ElementBase::nameGeneration() == m_namesChecked)
        return;
    m_namesChecked = ElementBase::nameGeneration();
    bool changed = false;
    for (int row = 0; row < m_modes.size(); ++row) {
        const QString name = m_modes.at(row) ? m_modes.at(row)->name() : QString();
        if (name == m_names.at(row))
            continue;
        m_names[row] = name;
        const QModelIndex changedIndex = modeIndex(row);
        emit dataChanged(changedIndex, changedIndex, {Qt::DisplayRole, Qt::EditRole, Qt::ToolTipRole});
        changed = true;
    }
    if (changed)
        emit labelsChanged();
}

} // namespace Orvex
