#include "board/Dec2HexValueObserver.h"

#include "board/QNRegisterAccess.h"

namespace Orvex {

Dec2HexValueObserver::Dec2HexValueObserver(QObject* a_parent) : ValueFeatureObserverBase(a_parent)
{
}

Dec2HexValueObserver::~Dec2HexValueObserver() = default;

QString Dec2HexValueObserver::converted(const QString& a_text)
{
    quint32 value = 0;
    if (a_text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive) ||
        !QNRegisterAccess::parseUnsignedDecimal(a_text, &value))
        return a_text;
    return QStringLiteral("0x") + QString::number(value, 16).toUpper();
}

void Dec2HexValueObserver::observeValueChange(ValueFeatureElementBase*, size_t, const QVariant& a_newValue,
                                              QVariant& a_replacement)
{
    const QString text = a_newValue.toString();
    const QString hex = converted(text);
    if (hex != text)
        a_replacement = hex;
}

} // namespace Orvex
