#pragma once

#include <QObject>

namespace Orvex {

// Keeps the board lists from waiting for the camera links: while it lives, the driver searches the
// GigE Vision and USB3 Vision links in the background and board lists show the cameras of the search
// before, and camerasListed() tells the lists to fill again once a search has ended.
class CameraSearch : public QObject
{
    Q_OBJECT

public:
    // The application's one, made on first use (on the thread of the application object, which owns
    // it). Null without an application object.
    static CameraSearch* instance();
    ~CameraSearch() override;

signals:
    void camerasListed();

private:
    explicit CameraSearch(QObject* a_parent);
    static void listed(void* a_search);
};

} // namespace Orvex
