#pragma once

#include "widgets/KeptSizeCheckBox.h"

#include <QPointer>

namespace Orvex {

class FeatureElementBase;

// The check box that stands for an optional feature's label on a page: checked while the feature is
// present, a click switches it on or off through the feature's undoable user edit, and undo and redo
// move the box with the feature.
class FeatureEnableCheckBox : public KeptSizeCheckBox
{
    Q_OBJECT

public:
    FeatureEnableCheckBox(FeatureElementBase* a_feature, QWidget* a_parent);

    // The feature's documentation followed by how to use the box.
    static QString toolTipFor(const QString& a_annotation);

private slots:
    void userToggled(bool a_enabled);

private:
    QPointer<FeatureElementBase> m_feature;
};

} // namespace Orvex
