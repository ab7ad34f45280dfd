#include "board/CameraSearch.h"

#include "platform/QNDriver.h"

#include <QCoreApplication>
#include <QPointer>

namespace Orvex {

CameraSearch* CameraSearch::instance()
{
    static QPointer<CameraSearch> s_search;
    if (!s_search && QCoreApplication::instance())
        s_search = new CameraSearch(QCoreApplication::instance());
    return s_search;
}

CameraSearch::CameraSearch(QObject* a_parent) : QObject(a_parent)
{
    QNCamSearchInBackground(&CameraSearch::listed, this);
}

CameraSearch::~CameraSearch()
{
    QNCamSearchInBackground(nullptr, nullptr);
}

void CameraSearch::listed(void* a_search)
{
    // On the search's thread: the signal goes out from this object's own.
    auto* search = static_cast<CameraSearch*>(a_search);
    QMetaObject::invokeMethod(search, &CameraSearch::camerasListed, Qt::QueuedConnection);
}

} // namespace Orvex
