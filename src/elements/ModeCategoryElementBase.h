#pragma once

#include "elements/CategoryElementBase.h"

namespace Orvex {

class ModeElement;

// A category of one mode. Every mode holds its own copy of each category, so a category can copy
// itself into another mode.
class ModeCategoryElementBase : public CategoryElementBase
{
    Q_OBJECT
    Q_PROPERTY(QString typeName READ typeName WRITE setTypeName)

public:
    // With a source, also takes its type name (see CategoryElementBase for the rest).
    ModeCategoryElementBase(const ModeCategoryElementBase* a_source, ModeElement* a_mode);
    ~ModeCategoryElementBase() override;

    ModeElement* mode() const;

    // The schema's named type of the category's content; empty when the schema describes the content in
    // place.
    QString typeName() const { return m_typeName; }
    void setTypeName(const QString& a_typeName) { m_typeName = a_typeName; }

    // A copy of this category, features and values included, made for a_mode but not added to it.
    virtual ModeCategoryElementBase* cloneCategory(ModeElement* a_mode) const = 0;

protected:
    // Showing any feature of the category makes it its mode's current category, which in turn shows
    // the mode.
    void onRaise() override;

private:
    QPointer<ModeElement> m_mode;
    QString m_typeName;
};

} // namespace Orvex
