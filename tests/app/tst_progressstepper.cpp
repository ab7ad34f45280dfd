#include "BoardFixtures.h"
#include "FileFixtures.h"
#include "model/OperationCanceledException.h"
#include "widgets/ProgressStepper.h"

#include <QPushButton>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

using namespace Orvex;

class TestProgressStepper : public QObject
{
    Q_OBJECT

private slots:
    void stages_data()
    {
        OrvexTest::addTableRows("tests/app/data/progress-stages.txt", {"withDialog", "plan"});
    }

    void stages()
    {
        QFETCH(QByteArray, withDialog);
        QFETCH(QByteArray, plan);

        QProgressDialog dialog;
        dialog.setAutoReset(false);
        ProgressStepper stepper(withDialog != "0" ? &dialog : nullptr, 0, 100);
        // "2": a frame interval nothing reaches, so the dialog stays where the first stage began.
        stepper.setFrameIntervalMs(withDialog == "2" ? 3600000 : 0);
        QSignalSpy spy(&stepper, &ProgressStepper::progress);

        int previous = 0;
        int firstShown = -1;
        QString firstLabel;
        for (const QByteArray& text : plan.split(',')) {
            QVector<int> stage;
            for (const QByteArray& number : text.simplified().split(' '))
                stage << number.toInt();
            const int to = std::min(stage[1], 100);
            spy.clear();
            const QString label = QStringLiteral("Stage %1").arg(stage[0]);
            stepper.beginStage(label, stage[0], stage[1], stage[2]);
            const int added = stage.size() > 4 ? stage[4] : 0;
            stepper.addSteps(added);
            for (int step = 0; step < stage[3]; ++step)
                stepper.step();

            QCOMPARE(spy.count(), 1 + stage[3]);
            QCOMPARE(spy.first().first().toInt(), std::max(stage[0], 0));
            for (const QList<QVariant>& emitted : qAsConst(spy)) {
                const int value = emitted.first().toInt();
                QVERIFY2(value >= previous && value <= to, qPrintable(QString::number(value)));
                previous = value;
            }
            QCOMPARE(previous == to, stage[2] + added > 0 && stage[3] >= stage[2] + added);
            if (firstShown < 0) {
                firstShown = spy.first().first().toInt();
                firstLabel = label;
            }
            if (withDialog != "0") {
                QCOMPARE(dialog.value(), withDialog == "2" ? firstShown : previous);
                QCOMPARE(dialog.labelText(), QStringLiteral("<html><p><b>%1</b></p></html>")
                                                 .arg(withDialog == "2" ? firstLabel : label));
            }
        }
    }

    void cancel_data() { OrvexTest::addTableRows("tests/app/data/progress-cancel.txt", {"cancelBy"}); }

    void cancel()
    {
        const QString cancelBy = OrvexTest::field("cancelBy");

        QProgressDialog dialog;
        ProgressStepper stepper(&dialog, 0, 100);
        stepper.setFrameIntervalMs(0);
        stepper.beginStage(QString(), 0, 9, 4);
        stepper.setDetailText(QStringLiteral("Schema parsing complete"));
        QCOMPARE(dialog.labelText(), QStringLiteral("<html><p>Schema parsing complete</p></html>"));
        stepper.beginStage(QStringLiteral("Loading LUMEX file"), 0, 9, 4);
        QCOMPARE(dialog.labelText(), QStringLiteral("<html><p><b>Loading LUMEX file</b></p></html>"));

        auto* button = dialog.findChild<QPushButton*>();
        if (cancelBy == QLatin1String("slot"))
            stepper.cancel();
        else if (cancelBy == QLatin1String("button"))
            button->click();
        else
            QTimer::singleShot(0, button, &QPushButton::click);
        QCOMPARE(stepper.isCanceled(), cancelBy != QLatin1String("queued"));
        stepper.setDetailText(QStringLiteral("Still working"));
        QCOMPARE(dialog.labelText(),
                 QStringLiteral("<html><p><b>Loading LUMEX file</b></p><p>Still working</p></html>"));

        QString what;
        try {
            stepper.step();
        } catch (const OperationCanceledException& exception) {
            what = QString::fromUtf8(exception.what());
        }
        const QRegularExpression text(
            QStringLiteral("^OperationCanceledException thrown from Orvex::ProgressStepper"
                           "::breathe in ProgressStepper\\.cpp\\[\\d+\\]: Operation canceled\\.$"));
        QVERIFY2(text.match(what).hasMatch(), qPrintable(what));
        QVERIFY_EXCEPTION_THROWN(stepper.beginStage(QStringLiteral("Loading Schema file"), 10, 19),
                                 OperationCanceledException);
    }
};

QTEST_MAIN(TestProgressStepper)
#include "tst_progressstepper.moc"
