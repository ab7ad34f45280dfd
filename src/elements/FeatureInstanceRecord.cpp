#include "elements/FeatureInstanceRecord.h"

namespace Orvex {

namespace {

// Deferred, because the row's own "-" button may be the sender whose click is still being delivered
// when its instance goes away. Hidden at once so that the row disappears from view right now.
void retire(QWidget* a_widget)
{
    if (!a_widget)
        return;
    a_widget->hide();
    a_widget->deleteLater();
}

} // namespace

FeatureInstanceRecord::~FeatureInstanceRecord()
{
    retire(m_valueWidget);
    retire(m_row);
}

bool FeatureInstanceRecord::holds(const QObject* a_object) const
{
    return a_object && (a_object == m_row || a_object == m_insertButton || a_object == m_removeButton ||
                        a_object == m_valueWidget);
}

} // namespace Orvex
