#include "ExceptionBase.h"
#include "OperationCanceledException.h"

#include <QObject>
#include <QTest>

#include <functional>
#include <memory>
#include <type_traits>

namespace {
unsigned g_throwLine = 0;
}

namespace Samples {

class SchemaReader
{
public:
    ORVEX_DECLARE_EXCEPTION(XsdLoadException);
    ORVEX_DECLARE_EXCEPTION(BadPathException);

    explicit SchemaReader(const QString& a_file)
    {
        if (a_file.endsWith(QLatin1String(".xsd")))
            return;
        g_throwLine = __LINE__ + 1;
        ORVEX_THROW(XsdLoadException, QStringLiteral("cannot load \"%1\"").arg(a_file));
    }

    void goToChild(const std::string& a_name) const
    {
        g_throwLine = __LINE__ + 1;
        ORVEX_THROW(BadPathException, "no child " + a_name);
    }

    static void loadCamera()
    {
        g_throwLine = __LINE__ + 1;
        ORVEX_THROW(BadPathException, "");
    }
};

// Kinds nested in a moc-processed class, the usual home of a throwing parser.
class FileWriter : public QObject
{
    Q_OBJECT

public:
    ORVEX_DECLARE_EXCEPTION(BadPathException);

    void printPath()
    {
        const auto inner = [] {
            g_throwLine = __LINE__ + 1;
            ORVEX_THROW(BadPathException, QByteArray("path"));
        };
        inner();
    }
};

void breathe()
{
    g_throwLine = __LINE__ + 1;
    ORVEX_THROW(Orvex::OperationCanceledException, "Operation canceled.");
}

void throwReaderKindFromOutside()
{
    g_throwLine = __LINE__ + 1;
    ORVEX_THROW(SchemaReader::BadPathException, std::string("outside"));
}

} // namespace Samples

using Thrower = std::function<void()>;
Q_DECLARE_METATYPE(Thrower)

static_assert(
    !std::is_same<Samples::SchemaReader::BadPathException, Samples::FileWriter::BadPathException>::value);
static_assert(std::is_base_of<Orvex::ExceptionBase, Samples::FileWriter::BadPathException>::value);
static_assert(std::is_base_of<std::exception, Orvex::OperationCanceledException>::value);
static_assert(sizeof(Samples::SchemaReader::XsdLoadException) == sizeof(Orvex::ExceptionBase),
              "a kind adds no data");

class TestExceptions : public QObject
{
    Q_OBJECT

private slots:
    void composedText_data();
    void composedText();
    void functionName_data();
    void functionName();
    void throwSites_data();
    void throwSites();
    void sameShortNameIsAnotherKind();
    void copyKeepsText();
};

void TestExceptions::composedText_data()
{
    QTest::addColumn<QByteArray>("kind");
    QTest::addColumn<QByteArray>("message");
    QTest::addColumn<QByteArray>("sourceFile");
    QTest::addColumn<QByteArray>("function");
    QTest::addColumn<uint>("line");
    QTest::addColumn<QByteArray>("fileName");
    QTest::addColumn<QByteArray>("text");

    QTest::newRow("unix directories")
        << QByteArray("ChildNotFoundException") << QByteArray("root is not \"xs:schema\"")
        << QByteArray("/home/dev/orvex/src/model/SchemaParser.cpp")
        << QByteArray("Orvex::SchemaParser::loadCamera") << 120u << QByteArray("SchemaParser.cpp")
        << QByteArray("ChildNotFoundException thrown from Orvex::SchemaParser::loadCamera in "
                      "SchemaParser.cpp[120]: root is not \"xs:schema\"");
    QTest::newRow("windows directories")
        << QByteArray("LumexLoadException") << QByteArray("<ol><li>bad</li></ol>")
        << QByteArray("C:\\work\\orvex\\LumexParser.cpp") << QByteArray("Orvex::LumexParser::LumexParser")
        << 7u << QByteArray("LumexParser.cpp")
        << QByteArray("LumexLoadException thrown from Orvex::LumexParser::LumexParser in LumexParser.cpp[7]: "
                      "<ol><li>bad</li></ol>");
    QTest::newRow("mixed separators")
        << QByteArray("BadPathException") << QByteArray("x") << QByteArray("C:\\work/model\\LumexPrinter.cpp")
        << QByteArray("Orvex::LumexPrinter::printPath") << 4000000000u << QByteArray("LumexPrinter.cpp")
        << QByteArray("BadPathException thrown from Orvex::LumexPrinter::printPath in "
                      "LumexPrinter.cpp[4000000000]: x");
    QTest::newRow("empty message, no directory")
        << QByteArray("NullValueException") << QByteArray() << QByteArray("b.cpp") << QByteArray("f") << 3u
        << QByteArray("b.cpp") << QByteArray("NullValueException thrown from f in b.cpp[3]: ");
}

void TestExceptions::composedText()
{
    QFETCH(QByteArray, kind);
    QFETCH(QByteArray, message);
    QFETCH(QByteArray, sourceFile);
    QFETCH(QByteArray, function);
    QFETCH(uint, line);
    QFETCH(QByteArray, fileName);
    QFETCH(QByteArray, text);

    const Orvex::ExceptionDescription description(kind.constData(), message.toStdString(),
                                                  sourceFile.constData(), function.toStdString(), line);
    QCOMPARE(QByteArray::fromStdString(description.m_text), text);
    QCOMPARE(QByteArray::fromStdString(description.m_message), message);
    QCOMPARE(QByteArray::fromStdString(description.m_fileName), fileName);
    QCOMPARE(QByteArray::fromStdString(description.m_functionName), function);
    QCOMPARE(description.m_line, line);

    const Samples::SchemaReader::XsdLoadException exception(description);
    QCOMPARE(QByteArray(exception.what()), text);
}

void TestExceptions::functionName_data()
{
    QTest::addColumn<QByteArray>("signature");
    QTest::addColumn<QByteArray>("name");

    QTest::newRow("member") << QByteArray("void Orvex::SchemaParser::goToChild(const QString&)")
                            << QByteArray("Orvex::SchemaParser::goToChild");
    QTest::newRow("constructor") << QByteArray("Orvex::SchemaParser::SchemaParser(const QString&, QObject*)")
                                 << QByteArray("Orvex::SchemaParser::SchemaParser");
    QTest::newRow("template return reference")
        << QByteArray("const QMap<QString, QList<int> >& Orvex::LumexParser::table(int) const")
        << QByteArray("Orvex::LumexParser::table");
    QTest::newRow("clang pointer return")
        << QByteArray(
               "std::pair<int, QString> *Orvex::Pool::take(std::function<void (int)>, QHash<int, int>)")
        << QByteArray("Orvex::Pool::take");
    QTest::newRow("template bindings")
        << QByteArray(
               "T Orvex::Box<T>::get(const std::vector<T>&) const [with T = int; U = std::pair<int, int>]")
        << QByteArray("Orvex::Box<T>::get");
    QTest::newRow("abi tag") << QByteArray("std::string Orvex::Board::label[abi:cxx11]() const")
                             << QByteArray("Orvex::Board::label");
    QTest::newRow("returns function pointer")
        << QByteArray("void (* Orvex::Hooks::callback(int))(double)") << QByteArray("Orvex::Hooks::callback");
    QTest::newRow("operator less") << QByteArray("bool Orvex::Key::operator<(const Orvex::Key&) const")
                                   << QByteArray("Orvex::Key::operator<");
    QTest::newRow("call operator") << QByteArray("void Orvex::Key::operator()(int)")
                                   << QByteArray("Orvex::Key::operator()");
    QTest::newRow("gcc lambda") << QByteArray("Orvex::SchemaParser::loadFeature(int)::<lambda(int)>")
                                << QByteArray("Orvex::SchemaParser::loadFeature");
    QTest::newRow("clang lambda")
        << QByteArray("auto Orvex::SchemaParser::loadFeature(int)::(anonymous class)::operator()(int) const")
        << QByteArray("Orvex::SchemaParser::loadFeature");
    QTest::newRow("clang anonymous namespace") << QByteArray("void (anonymous namespace)::helper(int)")
                                               << QByteArray("(anonymous namespace)::helper");
    QTest::newRow("msvc calling convention")
        << QByteArray(
               "class QList<class QString> __cdecl Orvex::LumexParser::parsePath(const class QString &)")
        << QByteArray("Orvex::LumexParser::parsePath");
}

void TestExceptions::functionName()
{
    QFETCH(QByteArray, signature);
    QFETCH(QByteArray, name);
    QCOMPARE(
        QByteArray::fromStdString(Orvex::ExceptionDescription::qualifiedFunctionName(signature.constData())),
        name);
}

void TestExceptions::throwSites_data()
{
    QTest::addColumn<Thrower>("thrower");
    QTest::addColumn<QByteArray>("kind");
    QTest::addColumn<QByteArray>("function");
    QTest::addColumn<QByteArray>("message");

    QTest::newRow("constructor") << Thrower([] { Samples::SchemaReader reader(QStringLiteral("cl.txt")); })
                                 << QByteArray("XsdLoadException")
                                 << QByteArray("Samples::SchemaReader::SchemaReader")
                                 << QByteArray("cannot load \"cl.txt\"");
    QTest::newRow("const member") << Thrower([] {
        Samples::SchemaReader(QStringLiteral("cl.xsd")).goToChild("camera");
    }) << QByteArray("BadPathException")
                                  << QByteArray("Samples::SchemaReader::goToChild")
                                  << QByteArray("no child camera");
    QTest::newRow("static member") << Thrower([] { Samples::SchemaReader::loadCamera(); })
                                   << QByteArray("BadPathException")
                                   << QByteArray("Samples::SchemaReader::loadCamera") << QByteArray();
    QTest::newRow("lambda in moc class")
        << Thrower([] { Samples::FileWriter().printPath(); }) << QByteArray("BadPathException")
        << QByteArray("Samples::FileWriter::printPath") << QByteArray("path");
    QTest::newRow("namespace kind") << Thrower(&Samples::breathe) << QByteArray("OperationCanceledException")
                                    << QByteArray("Samples::breathe") << QByteArray("Operation canceled.");
    QTest::newRow("nested kind from outside")
        << Thrower(&Samples::throwReaderKindFromOutside) << QByteArray("BadPathException")
        << QByteArray("Samples::throwReaderKindFromOutside") << QByteArray("outside");
    QTest::newRow("QString as UTF-8") << Thrower([] {
        g_throwLine = __LINE__ + 1;
        ORVEX_THROW(Samples::SchemaReader::BadPathException, QStringLiteral("Gr\u00f6\u00dfe \u20ac"));
    }) << QByteArray("BadPathException")
                                      << QByteArray("TestExceptions::throwSites_data")
                                      << QByteArray("Gr\xc3\xb6\xc3\x9f"
                                                    "e \xe2\x82\xac");
}

void TestExceptions::throwSites()
{
    QFETCH(Thrower, thrower);
    QFETCH(QByteArray, kind);
    QFETCH(QByteArray, function);
    QFETCH(QByteArray, message);

    g_throwLine = 0;
    QByteArray text;
    try {
        thrower();
        QFAIL("nothing thrown");
    } catch (const Orvex::ExceptionBase& a_error) {
        text = a_error.what();
    }
    QVERIFY(g_throwLine > 0);
    QCOMPARE(text, kind + " thrown from " + function + " in tst_exceptions.cpp[" +
                       QByteArray::number(g_throwLine) + "]: " + message);
}

void TestExceptions::sameShortNameIsAnotherKind()
{
    bool caughtByOtherKind = false;
    bool caughtByOwnKind = false;
    try {
        try {
            Samples::SchemaReader::loadCamera();
        } catch (const Samples::FileWriter::BadPathException&) {
            caughtByOtherKind = true;
        }
    } catch (const Samples::SchemaReader::BadPathException&) {
        caughtByOwnKind = true;
    }
    QVERIFY(!caughtByOtherKind);
    QVERIFY(caughtByOwnKind);

    bool canceledSeen = false;
    try {
        Samples::breathe();
    } catch (const Orvex::OperationCanceledException& a_canceled) {
        canceledSeen = QByteArray(a_canceled.what()).startsWith("OperationCanceledException thrown from ");
    }
    QVERIFY(canceledSeen);
}

void TestExceptions::copyKeepsText()
{
    const QByteArray first("BadPathException thrown from f in a.cpp[1]: first");
    auto original = std::make_unique<Samples::SchemaReader::BadPathException>(
        Orvex::ExceptionDescription("BadPathException", "first", "a.cpp", "f", 1));
    const Orvex::ExceptionBase copy(*original);
    Samples::SchemaReader::BadPathException assigned(
        Orvex::ExceptionDescription("BadPathException", "second", "b.cpp", "g", 2));
    assigned = *original;
    original.reset();
    QCOMPARE(QByteArray(copy.what()), first);
    QCOMPARE(QByteArray(assigned.what()), first);
}

QTEST_GUILESS_MAIN(TestExceptions)
#include "tst_exceptions.moc"
