#include "board/QNBrdDisplayName.h"

namespace Orvex {

QString QNBrdDisplayName::of(int a_boardNumber, HwBrdHandle a_handle)
{
    const bool camera = QNIsCamera(a_handle);
    QString name = (camera ? QStringLiteral("Cam (%1)") : QStringLiteral("Bd (%1)")).arg(a_boardNumber);
    char model[QNStringBufferSize] = {};
    char variant[QNStringBufferSize] = {};
    std::uint32_t serialNumber = 0;
    if (QNGetBoardStrings(a_handle, model, variant, &serialNumber, nullptr) != 0)
        return name;
    // The driver promises terminated texts; a board that breaks the promise must not run us past them.
    model[QNStringBufferSize - 1] = '\0';
    variant[QNStringBufferSize - 1] = '\0';
    if (camera) {
        const QString modelText = QString::fromUtf8(model).trimmed();
        const QString serialText = QString::fromUtf8(variant).trimmed();
        if (!modelText.isEmpty())
            name += QStringLiteral(" - ") + modelText;
        if (!serialText.isEmpty())
            name += QStringLiteral(" (%1)").arg(serialText);
        return name;
    }

    for (const char* text : {model, variant}) {
        const QString part = QString::fromUtf8(text).trimmed();
        if (!part.isEmpty())
            name += QStringLiteral(" - ") + part;
    }
    if (serialNumber != 0)
        name += QStringLiteral(" (SN %1)").arg(serialNumber);
    return name;
}

BoardTypes QNBrdDisplayName::typesOf(HwBrdHandle a_handle)
{
    BoardTypes types;
    if (QNIsCL(a_handle))
        types |= BoardType::CameraLink;
    if (QNIsCXP(a_handle))
        types |= BoardType::CoaXPress;
    if (QNIsCamera(a_handle))
        types |= BoardType::Camera;
    return types;
}

void QNBrdDisplayName::forEachBoard(unsigned a_openFlags,
                                    const std::function<bool(int, HwBrdHandle)>& a_visit)
{
    HwBrdEntry entry;
    for (unsigned index = 0; HwSysBrdFind(HwSelectorFrameGrabber, index, &entry) == 0; ++index) {
        HwBrdHandle handle = HwNoBoard;
        if (HwBrdOpen(&entry, &handle, a_openFlags) != 0)
            continue;
        const bool goOn = a_visit(static_cast<int>(index), handle);
        HwBrdClose(handle);
        if (!goOn)
            return;
    }
}

QVector<QNBrdDisplayName::Board> QNBrdDisplayName::boards(BoardTypes a_filter)
{
    QVector<Board> result;
    forEachBoard(HwOpenDataSource, [&](int a_boardNumber, HwBrdHandle a_handle) {
        if (typesOf(a_handle) & a_filter)
            result.append({a_boardNumber, of(a_boardNumber, a_handle)});
        return true;
    });
    return result;
}

} // namespace Orvex
