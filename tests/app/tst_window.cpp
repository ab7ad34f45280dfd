#include "BoardFixtures.h"
#include "ElementFixtures.h"
#include "WindowFixtures.h"
#include "app/Window.h"

#include <QDir>
#include <QProgressDialog>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

using namespace Orvex;
using namespace OrvexTest;

class TestWindow : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;

private slots:
    void initTestCase() { isolateSettings(QStringLiteral("Orvex")); }

    void init() { QVERIFY((m_dir = startWindowTest())->isValid()); }

    void cancelDuringLoad()
    {
        auto window = makeWindow();
        QTimer::singleShot(0, window.get(), [&window] {
            auto* dialog = window->findChild<QProgressDialog*>();
            QVERIFY(dialog && dialog->isVisible());
            dialog->findChild<QPushButton*>()->click();
        });
        QVERIFY(!window->openFile(copyExample(m_dir->filePath("cam.lumex"))));
        QVERIFY(!window->hasDocument());
        QVERIFY(window->isDocumentsPageShown());
        QCOMPARE(messages(), QStringList());
    }

    void titleRule_data() { addTextRows("tests/app/data/title-rule.txt"); }

    void titleRule()
    {
        QFETCH(QString, folder);
        QFETCH(QString, shown);
        const QString file = QDir::toNativeSeparators(QDir(folder).filePath("cam.lumex"));
        QCOMPARE(Window::titleFor(file), "Orvex (" + shown + QDir::separator() + "cam.lumex)");
    }
};

QTEST_MAIN(TestWindow)
#include "tst_window.moc"
