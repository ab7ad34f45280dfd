#pragma once

#include "elements/StringFeatureCompleterItemModel.h"

#include <QCompleter>
#include <QLineEdit>
#include <QObject>
#include <QPointer>
#include <QString>

namespace Orvex {

class StringFeature;

// Connects one line edit of a string feature to a completion model: it gives the line edit a completer
// over the model, tells the model which instance the popup is open for while it is shown, and passes
// every change of the line edit's text on as the model's latest value.
class StringFeatureCompleterHelper : public QObject
{
    Q_OBJECT

public:
    // The completer is made a child of a_lineEdit and becomes its completer; without a line edit or a
    // model the helper does nothing.
    StringFeatureCompleterHelper(QObject* a_parent, StringFeature* a_feature,
                                 StringFeatureCompleterItemModel* a_model, QLineEdit* a_lineEdit);
    // Deletes the completer, which takes it off the line edit.
    ~StringFeatureCompleterHelper() override;

    StringFeature* featureElement() const { return m_feature; }
    StringFeatureCompleterItemModel* model() const { return m_model; }
    QLineEdit* lineEdit() const { return m_lineEdit; }
    QCompleter* completer() const { return m_completer; }

    // Watches the completer's popup; never consumes an event.
    bool eventFilter(QObject* a_watched, QEvent* a_event) override;

private slots:
    void setInputValue(const QString& a_newValue);

private:
    QPointer<StringFeature> m_feature;
    QPointer<StringFeatureCompleterItemModel> m_model;
    QPointer<QLineEdit> m_lineEdit;
    QPointer<QCompleter> m_completer;
};

} // namespace Orvex
