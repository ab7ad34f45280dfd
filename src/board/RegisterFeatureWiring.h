#pragma once

#include <QPointer>

namespace Orvex {

class Dec2HexValueObserver;
class QNBrdDataSource;
class QNBrdRegsAddressItemModel;
class QNBrdRegsDataItemModel;
class QNCxpRegsDataItemModel;
class QNBrdRegsValueObserver;
class QNCamRegsAddressItemModel;
class QNCxpRegsValueObserver;
class StringFeature;

// Gives the string features of register writes their helpers: the completions of register names and
// current values, the observers that fill in a register's value once its address is typed, and the
// rewriting of decimal data as hexadecimal. Each helper is made once, on first need, and shared by every
// feature of its role, so that the copies of a feature share them too.
class RegisterFeatureWiring
{
public:
    // Where in a register write a feature stands; the camera's registers before and after the mode's
    // own settings take the same helpers.
    enum Role
    {
        BoardRegisterAddress,
        BoardRegisterData,
        CameraRegisterAddress,
        CameraRegisterData,
    };

    RegisterFeatureWiring();
    RegisterFeatureWiring(const RegisterFeatureWiring&) = delete;
    RegisterFeatureWiring& operator=(const RegisterFeatureWiring&) = delete;
    ~RegisterFeatureWiring();

    // The board whose registers the helpers read. Without one, features get only the helpers that need
    // no board: the decimal-to-hexadecimal observer, and not the register name and value completions nor
    // the observers that read register values. Set it before the first attach.
    void setDataSource(QNBrdDataSource* a_dataSource);
    QNBrdDataSource* dataSource() const;
    // The Qt parent of the helpers, which the features use as long as it lives.
    void setOwner(QObject* a_owner);

    void attach(StringFeature* a_feature, Role a_role);

private:
    // The shared decimal-to-hexadecimal observer, for a_feature, which is made to accept decimal entry.
    Dec2HexValueObserver* dec2Hex(StringFeature* a_feature);
    QNBrdRegsAddressItemModel* addressModel();

    QPointer<QNBrdDataSource> m_dataSource;
    QPointer<QObject> m_owner;
    QPointer<QNBrdRegsAddressItemModel> m_addressModel;
    QPointer<QNBrdRegsDataItemModel> m_boardDataModel;
    QPointer<QNCxpRegsDataItemModel> m_cameraDataModel;
    QPointer<QNCamRegsAddressItemModel> m_cameraAddressModel;
    QPointer<QNBrdRegsValueObserver> m_boardValueObserver;
    QPointer<QNCxpRegsValueObserver> m_cameraValueObserver;
    QPointer<Dec2HexValueObserver> m_dec2HexObserver;
};

} // namespace Orvex
