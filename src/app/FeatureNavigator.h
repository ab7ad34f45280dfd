#pragma once

#include "elements/ElementLocator.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>

#include <cstddef>
#include <limits>

namespace Orvex {

class CameraElement;
class ElementBase;
class Window;

// Takes the user to one element of the window's document: selects its mode (or the camera's global
// page), opens the category page that holds it, scrolls it into view, highlights it and puts the
// keyboard focus into its editor. Everything that points at a place in the document (the problem
// list, a search) goes through here, so that they all arrive alike and Back returns from there.
class FeatureNavigator : public QObject
{
    Q_OBJECT

public:
    // Every instance of a feature: the highlight covers them all and the focus goes to the first.
    static constexpr size_t AllInstances = std::numeric_limits<size_t>::max();

    explicit FeatureNavigator(Window* a_window);
    ~FeatureNavigator() override;

    // The element a_locator leads to from the window's camera element; a_instance picks the instance
    // of a feature. False, changing nothing, without a document or when the locator leads nowhere.
    bool goTo(const ElementLocator& a_locator, size_t a_instance = AllInstances);
    // The same for the feature a_featurePath names in the mode a_modeName (an empty name for the
    // camera's global features); see find().
    bool goTo(const QString& a_modeName, const QStringList& a_featurePath, size_t a_instance = AllInstances);
    // The element a_path names below the mode called a_modeName (below the global category for an
    // empty name): a category's name, then a feature's, then for a feature list an instance as
    // "name[N]", counted from 0 as orvex-tool and the problem list count, and a member's name. Null when
    // nothing is called so.
    static ElementBase* find(const CameraElement* a_camera, const QString& a_modeName,
                             const QStringList& a_path);

    // The element the last successful goTo arrived at; null before and once it is gone.
    ElementBase* lastTarget() const { return m_lastTarget; }

signals:
    // After the page is shown and the element highlighted and focused.
    void arrived(Orvex::ElementBase* a_element, size_t a_instance);

private:
    bool goToElement(ElementBase* a_element, size_t a_instance);

    QPointer<Window> m_window;
    QPointer<ElementBase> m_lastTarget;
};

} // namespace Orvex
