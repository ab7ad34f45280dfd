#pragma once

#include <QObject>
#include <QVariant>

#include <cstddef>

namespace Orvex {

class ValueFeatureElementBase;

// Watches the values that users enter into value features and may correct them. One observer is usually
// shared by many features; the features only list it, whoever created it owns it.
class ValueFeatureObserverBase : public QObject
{
    Q_OBJECT

public:
    explicit ValueFeatureObserverBase(QObject* a_parent = nullptr);
    ~ValueFeatureObserverBase() override;

    // Called after a user's value a_newValue has been stored as instance a_index of a_element.
    // a_replacement arrives null; storing a value into it asks for that value instead, which the feature
    // then applies as a further undoable change and shows to the observers again.
    virtual void observeValueChange(ValueFeatureElementBase* a_element, size_t a_index,
                                    const QVariant& a_newValue, QVariant& a_replacement) = 0;
};

} // namespace Orvex
