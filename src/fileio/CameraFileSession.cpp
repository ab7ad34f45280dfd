#include "fileio/CameraFileSession.h"

#include "board/QNBrdDataSource.h"
#include "elements/CameraElement.h"
#include "elements/DocumentHost.h"
#include "elements/WindowElement.h"
#include "fileio/LumexParser.h"
#include "fileio/LumexPrinter.h"
#include "fileio/SchemaParser.h"
#include "model/LumexTree.h"
#include "widgets/ProgressStepper.h"

#include <QFile>
#include <QFileInfo>

#include <memory>

namespace Orvex {

namespace {

void beginStage(ProgressStepper* a_progress, const QString& a_label, int a_from, int a_to)
{
    if (a_progress)
        a_progress->beginStage(a_label, a_from, a_to);
}

} // namespace

CameraFileSession::CameraFileSession(DocumentHost* a_host, QObject* a_parent)
    : QObject(a_parent), m_host(a_host ? a_host : new DocumentHost(this))
{
}

CameraFileSession::~CameraFileSession()
{
    close();
}

QString CameraFileSession::unknownStandardText()
{
    return QStringLiteral("<html><p>Could not determine the LUMEX file standard type.</p></html>");
}

void CameraFileSession::setBoardDataSource(QNBrdDataSource* a_dataSource)
{
    m_dataSource = a_dataSource;
}

CameraFileSession::LoadResult CameraFileSession::load(const QString& a_path,
                                                      const QString& a_coaXPressXsdPath,
                                                      const QString& a_cameraLinkXsdPath,
                                                      ProgressStepper* a_progress)
{
    const QString filePath = QFileInfo(a_path).absoluteFilePath();
    // Both are deleted on every way out but success, exceptions included.
    std::unique_ptr<LumexTree> tree(new LumexTree(filePath, m_host));
    std::unique_ptr<WindowElement> element;

    beginStage(a_progress, QStringLiteral("Loading LUMEX file"), 0, 9);
    LumexParser parser(filePath, tree.get(), a_progress);
    const bool isCoaXPress = parser.isCoaXPress();
    if (!isCoaXPress && !parser.isCameraLink()) {
        m_unknownStandardPlace = parser.standardProblem();
        return LoadResult::UnknownStandard;
    }

    beginStage(a_progress, QStringLiteral("Loading Schema file"), 10, 19);
    emit standardDetermined(isCoaXPress ? CameraElement::StandardCoaXPress
                                        : CameraElement::StandardCameraLink);
    SchemaParser schema(nullptr, tree.get(), a_progress,
                        isCoaXPress ? a_coaXPressXsdPath : a_cameraLinkXsdPath);
    beginStage(a_progress, QStringLiteral("Generating feature template from schema file"), 20, 59);
    element.reset(new WindowElement(m_host));
    schema.setBoardDataSource(m_dataSource);
    schema.loadCamera(element->camera());
    beginStage(a_progress, QStringLiteral("Populating editor from file data"), 60, 99);
    parser.parse(element->camera());
    QFile source(filePath);
    if (source.open(QIODevice::ReadOnly))
        tree->setSourceText(source.readAll());

    close();
    m_tree = tree.release();
    m_windowElement = element.release();
    m_filePath = filePath;
    m_coaXPressXsdPath = a_coaXPressXsdPath;
    m_cameraLinkXsdPath = a_cameraLinkXsdPath;
    return LoadResult::Loaded;
}

bool CameraFileSession::save(const QString& a_path, ProgressStepper* a_progress, bool a_preserveExtraData)
{
    CameraElement* camera = this->camera();
    if (!camera || a_path.isEmpty())
        return false;

    beginStage(a_progress, QStringLiteral("Generating file structure"), 1, 89);
    LumexPrinter printer(a_progress, m_tree);
    printer.setSchemaPaths(m_coaXPressXsdPath, m_cameraLinkXsdPath);
    printer.setPreserveExtraData(a_preserveExtraData);
    printer.setKeepsLayout(m_keepsLayout);
    printer.print(camera);
    beginStage(a_progress, QStringLiteral("Saving LUMEX file"), 90, 99);
    m_saveFailure = FailurePlace();
    m_saveReport.clear();
    m_savedText = QByteArray();
    const bool saved = printer.save(QFileInfo(a_path).absoluteFilePath(), &m_saveFailure, &m_saveReport);
    if (saved)
        m_savedText = printer.writtenText();
    return saved;
}

void CameraFileSession::close()
{
    if (m_windowElement || m_tree)
        emit documentClosing();
    // The tree goes first: its nodes refer to elements only by id, while it follows every mode element
    // to drop the mode's nodes when the mode goes, which would be wasted work one mode at a time.
    delete m_tree;
    delete m_windowElement;
    m_filePath.clear();
    m_coaXPressXsdPath.clear();
    m_cameraLinkXsdPath.clear();
}

bool CameraFileSession::isLoaded() const
{
    return m_windowElement != nullptr;
}

LumexTree* CameraFileSession::tree() const
{
    return m_tree;
}

WindowElement* CameraFileSession::windowElement() const
{
    return m_windowElement;
}

CameraElement* CameraFileSession::camera() const
{
    return m_windowElement ? m_windowElement->camera() : nullptr;
}

} // namespace Orvex
