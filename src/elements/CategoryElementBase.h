#pragma once

#include "elements/WidgetElementBase.h"

#include <QPointer>
#include <QVector>

class QFormLayout;
class QLineEdit;
class QVBoxLayout;

namespace Orvex {

class FeatureElementBase;

// One page of the editor: the features of the camera's global category or of one category of a mode.
// The features are complete without the page; the page (a scroll area with a form of the features) is
// built only when it is first asked for, and from then on gets a row for every feature added.
class CategoryElementBase : public WidgetElementBase
{
    Q_OBJECT

public:
    // With a source, takes its name, annotation and path and a copy of each of its features, values
    // included; every copy gets a fresh id.
    CategoryElementBase(const CategoryElementBase* a_source, ElementBase* a_parentElement);
    ~CategoryElementBase() override;

    // In the order they were added; features destroyed meanwhile are left out.
    QVector<FeatureElementBase*> features() const;
    int featureCount() const { return features().size(); }
    // The first feature with that name, or null.
    FeatureElementBase* feature(const QString& a_name) const;

    // Takes a feature made with this category as its parent element; false for null, for a feature of
    // another element and for one added already. Its warnings go to the window's message queue.
    bool addFeature(FeatureElementBase* a_feature);

    // The page: a scroll area holding the form, built on first call and returned as is afterwards. The
    // category owns it wherever it is shown.
    virtual QWidget* createWidget();

    // Tints the whole form, whatever the index: a category has no instances of its own.
    void highlight(size_t a_index) override;

    // The least width of the page's label column, so that the pages of a window put their fields at one
    // place; a wider label widens the column of its own page. Kept for a page made later.
    void setLabelColumnWidth(int a_width);
    // The width the widest label of the page asks for; 0 while there is no page.
    int naturalLabelColumnWidth() const;
    // The width the widest label of these categories' pages will ask for, whether they exist or not.
    static int labelColumnWidthOf(const QVector<CategoryElementBase*>& a_categories);

public slots:
    // Hides the rows of the features whose name does not hold a_text, whatever its case, nor that of any
    // of their members; an empty text shows every row. The rows shown follow each other from the top of
    // the form, without the room of the hidden ones, and the labels keep their unfiltered column, so
    // that the fields do not move sideways. The page's filter field calls it as the user types.
    void filterFeatures(const QString& a_text);
    // Clears the page's filter when it hides the row that holds a_element, which the user is taken to.
    void revealFeature(const QObject* a_element);

protected:
    // The page's content below the scroll area's viewport: a vertical layout that holds the form and
    // whatever a subclass puts above it.
    QVBoxLayout* contentLayout() const;
    // The widget that carries the form of features; null until the page exists.
    QWidget* formWidget() const { return m_formWidget; }

private slots:
    void dropDestroyedFeatures();

private:
    // A feature's row of the form: its label and its editor, when it has one.
    struct FormRow
    {
        QPointer<FeatureElementBase> feature;
        QPointer<QWidget> label;
        QPointer<QWidget> editor;
        bool inForm = true;
    };

    void addFeatureRow(FeatureElementBase* a_feature);
    // Gives every label beside a field the width of the column: the least width set, or while the page is
    // filtered the widest label of all, hidden ones included, if wider.
    void fitLabelColumn();
    // Puts a_row in the form after a_previous (first without one) or takes it out, and shows or hides
    // its widgets.
    void placeRow(FormRow& a_row, const FormRow* a_previous, bool a_shown);

    QVector<QPointer<FeatureElementBase>> m_features;
    QPointer<QWidget> m_formWidget;
    QPointer<QFormLayout> m_form;
    QPointer<QLineEdit> m_filterField;
    // In the order of the features.
    QVector<FormRow> m_rows;
    QString m_filter;
    int m_labelColumnWidth = 0;
};

} // namespace Orvex
