#include "elements/StringFeatureCompleterHelper.h"

#include "elements/StringFeature.h"
#include "elements/StringFeatureCompleterItemModel.h"

#include <QAbstractItemView>
#include <QCompleter>
#include <QEvent>
#include <QLineEdit>

namespace Orvex {

StringFeatureCompleterHelper::StringFeatureCompleterHelper(QObject* a_parent, StringFeature* a_feature,
                                                           StringFeatureCompleterItemModel* a_model,
                                                           QLineEdit* a_lineEdit)
    : QObject(a_parent), m_feature(a_feature), m_model(a_model), m_lineEdit(a_lineEdit)
{
    if (!a_lineEdit || !a_model)
        return;
    m_completer = new QCompleter(a_model, a_lineEdit);
    m_completer->setCompletionMode(QCompleter::UnfilteredPopupCompletion);
    m_completer->setCaseSensitivity(Qt::CaseInsensitive);
    m_completer->setCompletionColumn(a_model->completionColumn());
    a_lineEdit->setCompleter(m_completer);
    m_completer->popup()->installEventFilter(this);
    connect(a_lineEdit, &QLineEdit::textChanged, this, &StringFeatureCompleterHelper::setInputValue);
}

StringFeatureCompleterHelper::~StringFeatureCompleterHelper()
{
    // The line edit only keeps a guarded pointer to its completer, so deleting it is all it takes.
    delete m_completer;
}

bool StringFeatureCompleterHelper::eventFilter(QObject* a_watched, QEvent* a_event)
{
    if (m_completer && m_model && a_watched == m_completer->popup()) {
        if (a_event->type() == QEvent::Show) {
            const int index = m_feature ? m_feature->instanceIndex(m_lineEdit) : -1;
            if (index >= 0)
                m_model->setSource(m_feature, index);
        } else if (a_event->type() == QEvent::Hide) {
            m_model->clearSource();
        }
    }
    return QObject::eventFilter(a_watched, a_event);
}

void StringFeatureCompleterHelper::setInputValue(const QString& a_newValue)
{
    if (m_model)
        m_model->setLatestValue(a_newValue);
}

} // namespace Orvex
