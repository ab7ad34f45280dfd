#include "elements/GenericModeCategory.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QVBoxLayout>

namespace Orvex {

// The presence of the category as an optional feature without values: one instance while the category
// is in the file, none while it is not. Its face is the header's check box.
class GenericModeCategory::CategoryFeature : public FeatureElementBase
{
public:
    CategoryFeature(GenericModeCategory* a_category, bool a_present)
        : FeatureElementBase(a_category), m_category(a_category)
    {
        setMinOccurs(0);
        if (a_present)
            insertInstance(NoIndex);
    }

    QVariant dataSet() const override { return isEnabled(); }
    void setDataSet(const QVariant& a_dataSet) override { setEnabled(a_dataSet.toBool()); }

    QWidget* createWidget() override
    {
        m_category->createWidget();
        return widget();
    }

    void highlight(size_t) override
    {
        if (widget())
            highlightContainers({widget()->parentWidget()});
    }

    void passOnChanges(const QVector<InstanceChange>& a_changes)
    {
        FeatureElementBase::requestInstanceChanges(a_changes);
    }

    // Off while the category is still being built around this feature.
    void startReporting() { m_reporting = true; }

protected:
    void maxOccursReached(bool a_atMaximum) override
    {
        if (m_reporting)
            m_category->setCategoryEnabled(a_atMaximum);
    }

    void insertInstanceValue(size_t) override {}
    void removeInstanceValue(size_t) override {}
    void moveInstanceValue(size_t, size_t) override {}

    void requestInstanceChanges(const QVector<InstanceChange>& a_changes) override
    {
        m_category->requestCategoryChanges(a_changes);
    }

private:
    GenericModeCategory* m_category;
    bool m_reporting = false;
};

GenericModeCategory::GenericModeCategory(ModeElement* a_mode, const GenericModeCategory* a_source)
    : ModeCategoryElementBase(a_source, a_mode)
{
    m_categoryFeature = new CategoryFeature(this, !a_source || a_source->m_categoryFeature->isEnabled());
    if (a_source) {
        m_categoryFeature->setName(a_source->m_categoryFeature->name());
        m_categoryFeature->setAnnotation(a_source->m_categoryFeature->annotation());
        m_categoryFeature->setElementPath(a_source->m_categoryFeature->elementPath());
    }
    m_categoryEnabled = m_categoryFeature->isEnabled();
    m_categoryFeature->startReporting();
}

GenericModeCategory::~GenericModeCategory() = default;

FeatureElementBase* GenericModeCategory::categoryFeature() const
{
    return m_categoryFeature;
}

ModeCategoryElementBase* GenericModeCategory::cloneCategory(ModeElement* a_mode) const
{
    return new GenericModeCategory(a_mode, this);
}

QWidget* GenericModeCategory::createWidget()
{
    if (widget())
        return widget();
    QWidget* page = ModeCategoryElementBase::createWidget();
    QVBoxLayout* content = contentLayout();

    auto* header = new QWidget(content->parentWidget());
    auto* headerLayout = new QHBoxLayout(header);
    headerLayout->setContentsMargins(0, 0, 0, 0);
    const auto addLine = [header, headerLayout] {
        auto* line = new QFrame(header);
        line->setFrameShape(QFrame::HLine);
        line->setFrameShadow(QFrame::Sunken);
        headerLayout->addWidget(line, 1);
    };
    addLine();
    auto* checkBox = new QCheckBox(QStringLiteral("Feature Enabled"), header);
    headerLayout->addWidget(checkBox);
    addLine();
    content->insertWidget(0, header);

    connect(checkBox, &QCheckBox::clicked, m_categoryFeature, &FeatureElementBase::userSetEnabled);
    connect(checkBox, &QCheckBox::clicked, this, &GenericModeCategory::setCategoryEnabled);
    m_categoryFeature->setWidget(checkBox);
    showCategoryEnabled();
    return page;
}

void GenericModeCategory::setCategoryEnabled(bool a_enabled)
{
    const bool changed = a_enabled != m_categoryEnabled;
    m_categoryEnabled = a_enabled;
    showCategoryEnabled();
    if (changed)
        emit categoryEnabledChanged(m_categoryEnabled);
}

void GenericModeCategory::requestCategoryChanges(const QVector<FeatureElementBase::InstanceChange>& a_changes)
{
    m_categoryFeature->passOnChanges(a_changes);
}

QCheckBox* GenericModeCategory::headerCheckBox() const
{
    return qobject_cast<QCheckBox*>(m_categoryFeature->widget());
}

void GenericModeCategory::showCategoryEnabled()
{
    if (QCheckBox* checkBox = headerCheckBox())
        checkBox->setChecked(m_categoryEnabled);
    if (QWidget* form = formWidget())
        form->setEnabled(m_categoryEnabled);
}

} // namespace Orvex
