#pragma once

#include <QAbstractItemModel>
#include <QPointer>
#include <QSharedPointer>
#include <QString>
#include <QVector>

class QItemSelectionModel;
class QMimeData;
class QWidget;

namespace Orvex {

class ActionBase;
class CameraElement;
class ModeElement;
class WindowElement;

// The "Camera and Modes" tree: the camera as the one top-level item and one child per mode, in the
// camera's order, labelled with the mode names. The model owns the selection model its view must use,
// since every mode command acts on the selected mode; each one is pushed on the document's undo/redo
// stack. Rows mirror the camera's own insert, remove and move announcements, so undo and redo of the
// mode commands move the rows as well. Mode rows can be renamed in place and dragged out as their name;
// dropped between the rows of this same tree, a dragged mode moves there, undoably.
class CameraTreeModel : public QAbstractItemModel
{
    Q_OBJECT

public:
    static constexpr const char* modeNameMimeType = "QuarnelOrvex/ModeNameString";
    // Dialogs about refused names are shown over this widget.
    explicit CameraTreeModel(QWidget* a_dialogParent, QObject* a_parent = nullptr);
    ~CameraTreeModel() override;

    // Follows that document's camera from now on; null empties the tree.
    void setWindowElement(WindowElement* a_window);
    WindowElement* windowElement() const;
    CameraElement* camera() const;

    QItemSelectionModel* selectionModel() const { return m_selection; }

    QModelIndex cameraIndex() const;
    QModelIndex modeIndex(int a_position) const;
    // The mode position of a mode row, -1 for anything else.
    int modePosition(const QModelIndex& a_index) const;
    // The mode of the current row, null when the camera or nothing is selected.
    ModeElement* selectedMode() const;
    int selectedPosition() const;

    bool canCloneMode() const;
    // A camera keeps at least one mode: a file without modes cannot be opened again.
    bool canDeleteMode() const;
    bool canMoveMode() const;
    bool canEditModeName() const;
    // Set while rows are inserted, removed or moved; selection changes meanwhile are the model's own.
    bool isChangingRows() const { return m_changingRows; }

    // Renames a mode through the undo/redo stack. Refuses names with markup characters and names
    // another mode holds, telling the user and asking for the typed name back in the editor (see
    // renameRefused); white space is dropped, and a name that ends up other than typed is told too.
    // False when nothing changed.
    bool renameMode(ModeElement* a_mode, const QString& a_name);

    QModelIndex index(int a_row, int a_column, const QModelIndex& a_parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex& a_index) const override;
    int rowCount(const QModelIndex& a_parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& a_parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& a_index, int a_role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex& a_index, const QVariant& a_value, int a_role = Qt::EditRole) override;
    Qt::ItemFlags flags(const QModelIndex& a_index) const override;
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& a_indexes) const override;
    Qt::DropActions supportedDragActions() const override;
    // Only a drag that started in this tree, put between two mode rows (or after the last), under the
    // rules of Move Up and Move Down; a drop that would leave the mode where it is changes nothing.
    bool canDropMimeData(const QMimeData* a_data, Qt::DropAction a_action, int a_row, int a_column,
                         const QModelIndex& a_parent) const override;
    bool dropMimeData(const QMimeData* a_data, Qt::DropAction a_action, int a_row, int a_column,
                      const QModelIndex& a_parent) override;

signals:
    // The rows or the selection changed: what the mode actions may do has changed.
    void treeChanged();
    // Mode names changed.
    void labelsChanged();
    // Asks the view to start editing the name in place.
    void editRequested(const QModelIndex& a_index);
    // A rename was refused: the view opens the editor again with what the user typed, to correct it.
    void renameRefused(const QModelIndex& a_index, const QString& a_typed);

public slots:
    void cloneMode();
    void deleteMode();
    void moveModeUp();
    void moveModeDown();
    void editModeName();
    // Selects a row: the camera for a negative position.
    void selectPosition(int a_position);

private slots:
    void onModeInserted(int a_position);
    void onModeRemoved(int a_position);
    void onModeMoved(int a_from, int a_to);
    void refreshLabels();

private:
    void moveMode(bool a_up);
    void push(const QSharedPointer<ActionBase>& a_command);
    void reload();

    QPointer<QWidget> m_dialogParent;
    QPointer<WindowElement> m_window;
    QPointer<CameraElement> m_camera;
    QItemSelectionModel* m_selection = nullptr;
    // The rows as the view knows them, with the names they show.
    QVector<QPointer<ModeElement>> m_modes;
    QVector<QString> m_names;
    // The element name generation m_names were last compared at.
    quint64 m_namesChecked = ~quint64(0);
    bool m_changingRows = false;
    // The data of the latest drag out of this tree and its mode: a drop carrying that very data is a
    // reorder, while the same name dragged from another window's tree is not.
    mutable QPointer<QMimeData> m_dragData;
    mutable QPointer<ModeElement> m_dragMode;
};

} // namespace Orvex
