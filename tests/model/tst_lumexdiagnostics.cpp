#include "model/LumexDiagnostics.h"

#include "platform/Lumex.h"

#include <QObject>
#include <QTest>

Q_DECLARE_METATYPE(Lumex::Error)

namespace {

QString item(const QString& a_name, const QString& a_message, const QString& a_comment)
{
    return QLatin1String("<li><b>") + a_name + QLatin1String("</b>&nbsp;&mdash;&nbsp;") + a_message +
           QLatin1String("<p>") + a_comment + QLatin1String("</p></li>");
}

Lumex::Error comment(const QByteArray& a_comment, const char* a_name = "n", const char* a_message = "m")
{
    return Lumex::Error(a_name, a_message, a_comment.constData());
}

} // namespace

class TestLumexDiagnostics : public QObject
{
    Q_OBJECT

private slots:
    void toHtml_data()
    {
        QTest::addColumn<Lumex::Error>("error");
        QTest::addColumn<QString>("expected");

        Lumex::Error chain("<b>", "a & b", "\"q\" <t>");
        chain.append(nullptr, nullptr, nullptr);
        chain.append(Lumex::Error("third", "three", "3"));
        const QString third = item("third", "three", "3");
        QTest::newRow("chain, escaped, null texts empty")
            << chain << item("&lt;b&gt;", "a &amp; b", "&quot;q&quot; &lt;t&gt;") + item("", "", "") + third;
        QTest::newRow("chain from its current diagnostic") << chain.skip_next(1).skip_next(1) << third;
        QTest::newRow("success") << chain.skip_next(1).skip_next(1).skip_next(1) << QString();
        QTest::newRow("comment of 256 characters")
            << comment(QByteArray(256, 'a')) << item("n", "m", QString(256, 'a'));
        QTest::newRow("comment of 257 characters, long name and message kept")
            << comment(QByteArray(257, 'a'), QByteArray(300, 'n').constData(),
                       QByteArray(300, 'm').constData())
            << item(QString(300, 'n'), QString(300, 'm'), QString(256, 'a') + "&hellip;");
        QTest::newRow("cut after escaping, inside an escape")
            << comment(QByteArray(254, 'a') + '<') << item("n", "m", QString(254, 'a') + "&l&hellip;");
        QTest::newRow("characters, not bytes") << comment(QByteArray("\xc3\xa9").repeated(300))
                                               << item("n", "m", QString(256, QChar(0xe9)) + "&hellip;");
    }

    void toHtml()
    {
        QFETCH(Lumex::Error, error);
        QFETCH(QString, expected);
        QCOMPARE(Orvex::LumexDiagnostics::toHtml(error),
                 QLatin1String("<ol>") + expected + QLatin1String("</ol>"));
    }
};

QTEST_GUILESS_MAIN(TestLumexDiagnostics)
#include "tst_lumexdiagnostics.moc"
