#include "fileio/SchemaParser.h"

#include "elements/BooleanFeature.h"
#include "elements/EnumerationFeature.h"
#include "elements/FeatureListFeature.h"
#include "elements/FeatureTableFeature.h"
#include "elements/NumericFeature.h"
#include "elements/StringFeature.h"
#include "fileio/SchemaParserReading.h"
#include "model/LumexDiagnostics.h"

#include <QRegExp>

// The schema parser's typed features: which editor element a schema type becomes, with its facets.

namespace Orvex {

using namespace SchemaReading;

FeatureElementBase* SchemaParser::createTypedFeature(const QString& a_type, ElementBase* a_container)
{
    if (a_type == QLatin1String("xs:string"))
        return new StringFeature(a_container);
    if (a_type == QLatin1String("xs:boolean"))
        return new BooleanFeature(a_container);
    if (const std::optional<NumericValue::RepTypeEnum> type = NumericValue::typeOfSchemaName(a_type)) {
        auto* feature = new NumericFeature(a_container);
        feature->setRepresentationType(*type);
        return feature;
    }
    return nullptr;
}

FeatureElementBase* SchemaParser::makeTypedFeature(const QString& a_type,
                                                   const FeatureProperties& a_properties,
                                                   ElementBase* a_container)
{
    PositionGuard guard(this);
    FeatureElementBase* feature = createTypedFeature(a_type, a_container);
    if (!feature) {
        ORVEX_THROW(UnknownFeatureTypeException,
                    QStringLiteral("Unknown feature type \"%1\" on the \"%2\" feature.")
                        .arg(a_type, a_properties.name));
    }
    return feature;
}

FeatureElementBase* SchemaParser::makeSimpleFeature(const QString& a_base,
                                                    const FeatureProperties& a_properties,
                                                    ElementBase* a_container)
{
    PositionGuard guard(this);
    const std::vector<Lumex::ConstCamProperty> facets = childElements();
    const QString enumerationName = QStringLiteral("xs:enumeration");
    const bool isEnumeration =
        std::any_of(facets.cbegin(), facets.cend(), [&](const Lumex::ConstCamProperty& a_facet) {
            return nodeName(a_facet) == enumerationName;
        });

    if (isEnumeration) {
        auto* feature = new EnumerationFeature(a_container);
        for (const Lumex::ConstCamProperty& entry : facets) {
            if (nodeName(entry) != enumerationName)
                ORVEX_THROW(BadChildTypeException,
                            "Non-xs:enumeration child entry in the feature xs:restrictions.");
            QString value;
            if (!nodeAttribute(entry, "value", &value))
                ORVEX_THROW(MissingAttributeException,
                            "Missing \"value\" attribute on xs:enumeration feature.");
            value = value.trimmed();
            if (value.isEmpty())
                ORVEX_THROW(NullValueException, "Empty \"value\" attribute on xs:enumeration feature.");
            PositionGuard entryGuard(this);
            enter(entry);
            feature->addEntry(value, readDocumentation());
        }
        return feature;
    }

    FeatureElementBase* feature = createTypedFeature(a_base, a_container);
    if (!feature)
        ORVEX_THROW(UnknownFeatureTypeException,
                    QStringLiteral("Unsupported simpleType feature type \"%1\".").arg(a_base));

    const auto requireValue = [&a_properties](bool a_present, const QString& a_facet) {
        if (!a_present) {
            ORVEX_THROW(
                MissingAttributeException,
                QStringLiteral("Missing \"value\" attribute on \"%1\" restrition of the \"%2\" feature.")
                    .arg(a_facet, a_properties.name));
        }
    };
    auto* stringFeature = qobject_cast<StringFeature*>(feature);
    auto* numericFeature = qobject_cast<NumericFeature*>(feature);
    for (const Lumex::ConstCamProperty& facet : facets) {
        const QString name = nodeName(facet);
        const QString facetName = name.mid(name.indexOf(QLatin1Char(':')) + 1);
        if (stringFeature && name == QLatin1String("xs:pattern")) {
            QString pattern;
            requireValue(nodeAttribute(facet, "value", &pattern), facetName);
            stringFeature->setStringPattern(QRegExp(pattern, Qt::CaseSensitive, QRegExp::W3CXmlSchema11));
        } else if (stringFeature && name == QLatin1String("xs:maxLength")) {
            int length = 0;
            requireValue(bool(facet.get("value", length)), facetName);
            stringFeature->setStringLengthMax(length);
        } else if (stringFeature && name == QLatin1String("xs:minLength")) {
            int length = 0;
            requireValue(bool(facet.get("value", length)), facetName);
            if (length != 0) {
                ORVEX_THROW(BadValueException,
                            QStringLiteral("Unsupported (non-zero) \"value=%1\" attribute on "
                                           "\"minLength\" restrition of the \"%2\" feature.")
                                .arg(length)
                                .arg(a_properties.name));
            }
        } else if (numericFeature && name == QLatin1String("xs:minInclusive")) {
            double bound = 0.0;
            requireValue(bool(facet.get("value", bound)), facetName);
            numericFeature->setMinimumValue(bound);
        } else if (numericFeature && name == QLatin1String("xs:maxInclusive")) {
            double bound = 0.0;
            requireValue(bool(facet.get("value", bound)), facetName);
            numericFeature->setMaximumValue(bound);
        } else if (numericFeature && name == QLatin1String("xs:fractionDigits")) {
            int digits = 0;
            requireValue(bool(facet.get("value", digits)), facetName);
            numericFeature->setFractionDigits(digits);
            numericFeature->setHasFractionDigits(true);
        }
    }
    return feature;
}

FeatureElementBase* SchemaParser::makeComplexFeature(const FeatureProperties& a_properties,
                                                     ElementBase* a_container)
{
    PositionGuard guard(this);
    FeatureListFeatureBase* feature = nullptr;
    if (a_properties.maxOccurs > a_properties.minOccurs && a_properties.maxOccurs > 1)
        feature = new FeatureTableFeature(a_container);
    else
        feature = new FeatureListFeature(a_container);
    goToChild(QStringLiteral("xs:complexType"));
    loadComplexContent(feature);
    return feature;
}

} // namespace Orvex
