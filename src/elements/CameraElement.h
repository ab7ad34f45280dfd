#pragma once

#include "elements/ElementBase.h"

#include <QPointer>
#include <QSet>
#include <QVector>

#include <memory>

namespace Orvex {

class CameraGlobalCategory;
class ModeBuilder;
class ModeElement;

// The camera of a document: its global category and its modes, of which at most one is current. No
// current mode means the global page is the one shown. Mode names are kept unique: every mode added gets
// a unique name first.
class CameraElement : public ElementBase
{
    Q_OBJECT
    Q_PROPERTY(int standard READ standard)

public:
    enum Standard : int
    {
        StandardUnknown = 0,
        StandardCameraLink = 1,
        StandardCoaXPress = 2,
    };
    Q_ENUM(Standard)

    // Creates the global category. The signals globalModeSelected and modeSelected go to the main
    // window of a_window, to its slots setCameraMode() and setMode(int).
    explicit CameraElement(WindowElement* a_window);
    ~CameraElement() override;

    // The window element's main window; null without one.
    QObject* mainWindow() const;
    CameraGlobalCategory* globalCategory() const;

    // From the global feature "standard", compared without regard to case: "CoaXPress" or "CameraLink";
    // unknown when the feature is missing or holds anything else. Read each time, so that it follows
    // edits of the feature.
    int standard() const;

    // Shares a kept list, so a call costs no copy of it.
    QVector<ModeElement*> modes() const;
    int modeCount() const { return modes().size(); }
    ModeElement* mode(int a_position) const;
    int indexOfMode(const ModeElement* a_mode) const;
    // Whether a_mode is one of this camera's modes, without looking through them: a deleted mode lives on
    // in its undo command, and the history asks this of every entry each time a page is shown.
    bool holdsMode(const ModeElement* a_mode) const;
    // The first mode with exactly that name, or null.
    ModeElement* modeByName(const QString& a_name) const;
    // Null while the global page is current.
    ModeElement* currentMode() const;

    // The mode as the schema describes it, with the schema's values: what a loader copies every mode of
    // a file from. It is none of the modes; the camera owns it. Null until a loader sets one.
    ModeElement* modeTemplate() const;
    void setModeTemplate(ModeElement* a_template);
    // What fills the modes a loader left unbuilt; null when there are none.
    ModeBuilder* modeBuilder() const;
    void setModeBuilder(std::unique_ptr<ModeBuilder> a_builder);

    // Puts a mode made for this camera at a_position (out of range: at the end), under a unique name,
    // taking it back as Qt child when something else held it meanwhile. Returns the position, or -1 for
    // null, for a mode of another camera and for one in the camera already.
    int insertMode(int a_position, ModeElement* a_mode);
    int appendMode(ModeElement* a_mode) { return insertMode(-1, a_mode); }
    // appendMode() for a loader that has named a_mode apart from every mode of the camera itself: its
    // name is taken as it is, without comparing it with all the others, which for the thousands of modes
    // of a large file would be quadratic.
    int appendUniquelyNamedMode(ModeElement* a_mode);
    // Takes a mode out without destroying it; it stays a Qt child until the caller gives it another
    // parent. Taking the current mode shows the global page first. Null for a position out of range.
    ModeElement* takeMode(int a_position);
    // Moves a mode to another position, keeping the current mode as it is. False when either position is
    // out of range.
    bool moveMode(int a_from, int a_to);

    // a_name made fit for a mode: the characters @ < > & ' " and all white space removed, empty made
    // "Default", and, when another mode already uses it, numbered with the smallest free "_n" of its
    // base name. a_except is left out of the comparison (the mode being renamed).
    QString uniqueModeName(const QString& a_name, const ModeElement* a_except = nullptr) const;

    // The selection of a page: null shows the global page and announces globalModeSelected; a mode of
    // the camera is made current, shown and announced with modeSelected. Modes of other cameras are
    // ignored.
    void activateMode(ModeElement* a_mode);

    const WindowElement* windowElement() const override;
    WindowElement* windowElement() override;

signals:
    void globalModeSelected();
    void modeSelected(int a_index);
    void modeInserted(int a_position);
    void modeRemoved(int a_position);
    void modeMoved(int a_from, int a_to);

public slots:
    void setGlobalMode();
    // No wrap-around: the last mode stays, and stepping back from the first mode reaches the global page.
    void selectNextMode();
    void selectPrevMode();

protected:
    // Raises the window element, lowers every mode but the current one and shows the current page.
    void onRaise() override;
    void onLower() override;

private slots:
    void forgetDestroyedMode(QObject* a_mode);
    void dropDestroyedModes();

private:
    int placeMode(int a_position, ModeElement* a_mode, bool a_makeNameUnique);
    void forgetLivingModes();

    QPointer<WindowElement> m_window;
    QPointer<QObject> m_mainWindow;
    CameraGlobalCategory* m_globalCategory = nullptr;
    QVector<QPointer<ModeElement>> m_modes;
    // The modes in m_modes, for telling in constant time whether a mode is one of them.
    QSet<const QObject*> m_placedModes;
    // m_modes without the destroyed ones, rebuilt on first use after a change: modes are looked up by
    // position inside loops over all of them.
    mutable QVector<ModeElement*> m_livingModes;
    mutable bool m_livingModesKnown = false;
    QPointer<ModeElement> m_currentMode;
    QPointer<ModeElement> m_modeTemplate;
    std::unique_ptr<ModeBuilder> m_modeBuilder;
    // Set while a page is being selected, so that the raises it causes, which report back here, do not
    // select again.
    bool m_selecting = false;
};

} // namespace Orvex
