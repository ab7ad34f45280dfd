#include "board/RegisterFeatureWiring.h"

#include "board/Dec2HexValueObserver.h"
#include "board/QNBrdDataSource.h"
#include "board/QNBrdRegsAddressItemModel.h"
#include "board/QNBrdRegsDataItemModel.h"
#include "board/QNBrdRegsValueObserver.h"
#include "board/QNCamRegsAddressItemModel.h"
#include "board/QNCxpRegsDataItemModel.h"
#include "board/QNCxpRegsValueObserver.h"
#include "elements/StringFeature.h"

namespace Orvex {

namespace {

// A field whose decimal entry is rewritten in hexadecimal must let the user type one: the schema's
// pattern allows only the hexadecimal form and would refuse the first digit. Only typing is widened:
// the file is still checked against the schema's pattern.
void acceptDecimalEntry(StringFeature* a_feature)
{
    const QRegExp pattern = a_feature->stringPattern();
    if (pattern.isEmpty() || !pattern.isValid())
        return;
    a_feature->setEntryPattern(QRegExp(QStringLiteral("(%1)|[0-9]{1,10}").arg(pattern.pattern()),
                                       pattern.caseSensitivity(), pattern.patternSyntax()));
}

} // namespace

RegisterFeatureWiring::RegisterFeatureWiring() = default;

RegisterFeatureWiring::~RegisterFeatureWiring() = default;

void RegisterFeatureWiring::setDataSource(QNBrdDataSource* a_dataSource)
{
    m_dataSource = a_dataSource;
}

QNBrdDataSource* RegisterFeatureWiring::dataSource() const
{
    return m_dataSource;
}

void RegisterFeatureWiring::setOwner(QObject* a_owner)
{
    m_owner = a_owner;
}

void RegisterFeatureWiring::attach(StringFeature* a_feature, Role a_role)
{
    switch (a_role) {
    case BoardRegisterAddress:
        if (QNBrdRegsAddressItemModel* model = addressModel()) {
            if (!m_boardValueObserver)
                m_boardValueObserver = new QNBrdRegsValueObserver(model, m_owner);
            a_feature->setCompleterModel(model);
            a_feature->addObserver(m_boardValueObserver);
        }
        break;
    case BoardRegisterData:
        if (QNBrdRegsAddressItemModel* model = addressModel()) {
            if (!m_boardDataModel)
                m_boardDataModel = new QNBrdRegsDataItemModel(model, m_owner);
            a_feature->setCompleterModel(m_boardDataModel);
        }
        a_feature->addObserver(dec2Hex(a_feature));
        break;
    case CameraRegisterAddress:
        a_feature->addObserver(dec2Hex(a_feature));
        if (m_dataSource) {
            if (!m_cameraValueObserver)
                m_cameraValueObserver = new QNCxpRegsValueObserver(m_dataSource, m_owner);
            a_feature->addObserver(m_cameraValueObserver);
            if (!m_cameraAddressModel)
                m_cameraAddressModel = new QNCamRegsAddressItemModel(m_dataSource, m_owner);
            a_feature->setCompleterModel(m_cameraAddressModel);
        }
        break;
    case CameraRegisterData:
        if (m_dataSource) {
            if (!m_cameraDataModel)
                m_cameraDataModel = new QNCxpRegsDataItemModel(m_dataSource, m_owner);
            a_feature->setCompleterModel(m_cameraDataModel);
        }
        a_feature->addObserver(dec2Hex(a_feature));
        break;
    }
}

Dec2HexValueObserver* RegisterFeatureWiring::dec2Hex(StringFeature* a_feature)
{
    acceptDecimalEntry(a_feature);
    if (!m_dec2HexObserver)
        m_dec2HexObserver = new Dec2HexValueObserver(m_owner);
    return m_dec2HexObserver;
}

QNBrdRegsAddressItemModel* RegisterFeatureWiring::addressModel()
{
    if (!m_addressModel && m_dataSource)
        m_addressModel = new QNBrdRegsAddressItemModel(m_dataSource, m_owner);
    return m_addressModel;
}

} // namespace Orvex
