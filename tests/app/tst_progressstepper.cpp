#include "model/OperationCanceledException.h"
#include "widgets/ProgressStepper.h"

#include <QPushButton>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

using namespace Orvex;

// A stage: from, to, step count (0: unknown), steps taken.
using StagePlan = QVector<int>;
Q_DECLARE_METATYPE(QVector<StagePlan>)

class TestProgressStepper : public QObject
{
    Q_OBJECT

private slots:
    void stages_data()
    {
        QTest::addColumn<bool>("withDialog");
        QTest::addColumn<QVector<StagePlan>>("plan");
        const QVector<StagePlan> load{{0, 9, 3, 3}, {10, 19, 1, 1}, {20, 59, 7, 7}, {60, 99, 5, 5}};
        QTest::newRow("counted stages") << true << load;
        QTest::newRow("without a dialog") << false << QVector<StagePlan>{{0, 9, 3, 3}, {10, 19, 1, 1}};
        QTest::newRow("more steps than counted") << true << QVector<StagePlan>{{0, 9, 2, 5}, {10, 19, 3, 3}};
        QTest::newRow("more steps than values") << true << QVector<StagePlan>{{10, 12, 7, 7}};
        QTest::newRow("uncounted steps") << true << QVector<StagePlan>{{0, 50, 0, 30}, {60, 99, 0, 200}};
        QTest::newRow("beyond the overall range") << true << QVector<StagePlan>{{-5, 120, 2, 2}};
    }

    void stages()
    {
        QFETCH(bool, withDialog);
        QFETCH(QVector<StagePlan>, plan);

        QProgressDialog dialog;
        dialog.setAutoReset(false);
        ProgressStepper stepper(withDialog ? &dialog : nullptr, 0, 100);
        QSignalSpy spy(&stepper, &ProgressStepper::progress);

        int previous = 0;
        for (const StagePlan& stage : plan) {
            const int to = std::min(stage[1], 100);
            spy.clear();
            stepper.beginStage(QStringLiteral("Stage"), stage[0], stage[1], stage[2]);
            for (int step = 0; step < stage[3]; ++step)
                stepper.step();

            QCOMPARE(spy.count(), 1 + stage[3]);
            QCOMPARE(spy.first().first().toInt(), std::max(stage[0], 0));
            for (const QList<QVariant>& emitted : qAsConst(spy)) {
                const int value = emitted.first().toInt();
                QVERIFY2(value >= previous && value <= to, qPrintable(QString::number(value)));
                previous = value;
            }
            QCOMPARE(previous == to, stage[2] > 0 && stage[3] >= stage[2]);
            if (withDialog)
                QCOMPARE(dialog.value(), previous);
        }
    }

    void cancel_data()
    {
        QTest::addColumn<QString>("cancelBy");
        QTest::newRow("slot") << QStringLiteral("slot");
        QTest::newRow("Cancel button") << QStringLiteral("button");
        QTest::newRow("click handled while breathing") << QStringLiteral("queued");
    }

    void cancel()
    {
        QFETCH(QString, cancelBy);

        QProgressDialog dialog;
        ProgressStepper stepper(&dialog, 0, 100);
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
