#pragma once

#include "elements/ElementBase.h"

#include <QPointer>
#include <QVector>

namespace Orvex {

class CameraElement;
class LumexTreeElement;
class ModeCategoryElementBase;

// One named mode of the camera: an ordered list of categories, one of which is the current page while
// the mode is shown. The mode's Qt parent is its camera, except while an undo command keeps a deleted
// mode; the mode keeps knowing its camera either way.
class ModeElement : public ElementBase
{
    Q_OBJECT

public:
    // The signal categorySelected goes to the main window's setModeCategory(int).
    explicit ModeElement(CameraElement* a_camera);
    // A deep copy of a_source for a_camera: name, annotation, path, and a copy of every category with
    // its features and values, all with fresh ids. The current category is taken over by position.
    ModeElement(const ModeElement* a_source, CameraElement* a_camera);
    ~ModeElement() override;

    // A copy made with the copying constructor for this mode's camera, not yet inserted in it.
    ModeElement* clone() const;
    // A copy of this mode's name, annotation and path for this mode's camera, without categories, which
    // the camera's mode builder gives it when they are first asked for. A loader makes one per mode of a
    // file, so that opening a file with many modes builds only the modes the user goes to.
    ModeElement* unbuiltCopy() const;
    // False until an unbuilt copy is filled; everything that reads categories fills it first. Code that
    // can do its work from the file's content instead asks this, to leave the mode unbuilt.
    bool isBuilt() const { return m_built; }
    // The document node the content of an unbuilt mode is read from (see UnbuiltModeReader); null once
    // the mode is built.
    const LumexTreeElement* unbuiltContent() const;

    CameraElement* camera() const;

    QVector<ModeCategoryElementBase*> categories() const;
    int categoryCount() const { return categories().size(); }
    ModeCategoryElementBase* category(int a_position) const;
    int indexOfCategory(const ModeCategoryElementBase* a_category) const;
    // Null when the mode has not been shown yet or its current category is gone.
    ModeCategoryElementBase* currentCategory() const;

    // Takes a category made for this mode; a position out of range appends. False for null, for a
    // category of another mode and for one added already.
    bool insertCategory(int a_position, ModeCategoryElementBase* a_category);
    bool appendCategory(ModeCategoryElementBase* a_category) { return insertCategory(-1, a_category); }

    // Makes a_category the current one and shows it, showing the mode first when it is not shown;
    // announces it with categorySelected. Categories of other modes are ignored.
    void activateCategory(ModeCategoryElementBase* a_category);

    const WindowElement* windowElement() const override;
    WindowElement* windowElement() override;

signals:
    void categorySelected(int a_index);

public slots:
    // Step through the categories, wrapping around at either end; nothing with fewer than two.
    void selectNextCategory();
    void selectPrevCategory();

protected:
    // Lowers every other category, makes this mode the camera's current one, shows its current
    // category (the first one when there is none yet) and announces it.
    void onRaise() override;
    void onLower() override;

private slots:
    void dropDestroyedCategories();

private:
    // Asks the camera's mode builder to fill an unbuilt mode; nothing for a built one.
    void build() const;
    void stepCategory(bool a_next);

    QPointer<CameraElement> m_camera;
    QVector<QPointer<ModeCategoryElementBase>> m_categories;
    QPointer<ModeCategoryElementBase> m_currentCategory;
    // Set while this mode changes its current category, so that the category's own raise, which
    // reports back here, does not start the change again.
    bool m_activating = false;
    mutable bool m_built = true;
};

} // namespace Orvex
