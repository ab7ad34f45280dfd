#include "FileFixtures.h"
#include "TestSupport.h"
#include "platform/Lumex.h"
#include "platform/LumexSource.h"

#include <libxml/parser.h>
#include <libxml/xmlerror.h>

#include <QFile>
#include <QObject>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

namespace {

QByteArray dataFile(const char* a_name)
{
    return QFile::encodeName(
        OrvexTest::sourcePath(QStringLiteral("tests/platform/data/") + QLatin1String(a_name)));
}

using OrvexTest::fileBytes;

QString text(const char* a_text)
{
    return a_text ? QString::fromUtf8(a_text) : QStringLiteral("<null>");
}

// Everything the markup interface shows of a subtree, one line per node, so that two documents can be
// compared through the interface itself.
void describe(const Lumex::CamProperty& a_node, int a_depth, QStringList& a_lines)
{
    QString line = QString(a_depth * 2, QLatin1Char(' ')) +
                   (a_node.is(Lumex::CamProperty::CommentNode) ? "comment "
                    : a_node.is(Lumex::CamProperty::TextNode)  ? "text "
                    : a_node.is(Lumex::CamProperty::OtherNode) ? "other "
                                                               : "element ") +
                   text(a_node.name()) + QLatin1Char(' ');
    for (unsigned i = 0; i < a_node.attribute_count(); ++i) {
        const char* value = nullptr;
        a_node.get(a_node.attribute(i), value);
        line += QStringLiteral("@%1=[%2] ").arg(text(a_node.attribute(i)), text(value));
    }
    line += QLatin1Char('[') + text(a_node.get()) + QLatin1Char(']');
    a_lines << line;
    for (auto it = a_node.begin(nullptr); it != a_node.end(nullptr); ++it)
        describe(*it, a_depth + 1, a_lines);
}

QStringList describe(const Lumex::CamProperty& a_root)
{
    QStringList lines;
    describe(a_root, 0, lines);
    return lines;
}

QStringList diagnostics(const Lumex::Error& a_error)
{
    QStringList lines;
    for (Lumex::Error current = a_error; !current; current = current.skip_next(Lumex::Error::NextError))
        lines << text(current.name()) + QLatin1String(" | ") + text(current.message()) +
                     QLatin1String(" | ") + text(current.comment());
    return lines;
}

int g_globalErrors = 0;

void countGlobalError(void*, xmlErrorPtr)
{
    ++g_globalErrors;
}

} // namespace

class TestLumex : public QObject
{
    Q_OBJECT

private:
    QByteArray tempFile(const char* a_name) const { return QFile::encodeName(m_temp.filePath(a_name)); }

    QTemporaryDir m_temp;

private slots:
    void initTestCase() { QVERIFY(m_temp.isValid()); }

    void failedLoad_data()
    {
        OrvexTest::addTableRows(QStringLiteral("tests/platform/data/tables/failed-loads.txt"),
                                {"source", "minimumDiagnostics", "commentPart"});
    }

    // Every diagnostic is complete and in document order; the document loaded before is kept; the
    // process-wide libxml2 handlers are left as they were; entity amplification is refused.
    void failedLoad()
    {
        QFETCH(QByteArray, source);
        QFETCH(QByteArray, minimumDiagnostics);
        QFETCH(QByteArray, commentPart);
        const QByteArray text = source.startsWith("text:") ? source.mid(5) : QByteArray();
        const QByteArray path = source.startsWith("file:")   ? dataFile(source.mid(5).constData())
                                : source.startsWith("temp:") ? tempFile(source.mid(5).constData())
                                                             : QByteArray();

        const xmlExternalEntityLoader loader = xmlGetExternalEntityLoader();
        g_globalErrors = 0;
        xmlSetStructuredErrorFunc(nullptr, countGlobalError);
        Lumex::CamFile file("<kept/>", Lumex::CamFile::SourceText);
        const Lumex::Error result = path.isEmpty() ? file.load(text.constData(), Lumex::CamFile::SourceText)
                                                   : file.load(path.constData(), 0);
        xmlSetStructuredErrorFunc(nullptr, nullptr);
        QCOMPARE(g_globalErrors, 0);
        QVERIFY(xmlGetExternalEntityLoader() == loader);

        const QString all = diagnostics(result).join('\n');
        QVERIFY(!result);
        QVERIFY2(result.count() >= minimumDiagnostics.toUInt(), qPrintable(all));
        QVERIFY2(all.contains(QString::fromUtf8(commentPart)), qPrintable(all));
        int previousLine = 0;
        for (const QString& line : diagnostics(result)) {
            const QStringList parts = line.split(" | ");
            QVERIFY2(!parts[0].isEmpty() && !parts[1].isEmpty() && !parts.mid(0, 2).contains("<null>"),
                     qPrintable(line));
            QVERIFY(!parts[1].endsWith('\n'));
            const int at = QRegularExpression("^line (\\d+)").match(parts[2]).captured(1).toInt();
            QVERIFY2(at == 0 || at >= previousLine, "diagnostics come in document order");
            previousLine = qMax(at, previousLine);
        }
        QCOMPARE(diagnostics(result).size(), int(result.count()));
        QCOMPARE(::text(file.root().name()), QStringLiteral("kept"));
        if (!path.isEmpty()) {
            const Lumex::CamFile fromPath(path.constData(), 0);
            QVERIFY(!fromPath.status() && fromPath.isEmpty());
        }
    }

    // Node kinds, names, values and child counts, seen through describe(), which uses every accessor.
    void structure()
    {
        Lumex::CamFile file(
            "<!DOCTYPE r [<!ENTITY ent \"expanded\">]><r>text<e>inside</e> <x n='0'/>plain &amp; "
            "text<![CDATA[<raw>]]><!-- remark --><x n='1'/><?target some data?>&ent;</r>",
            Lumex::CamFile::SourceText);
        QVERIFY2(file.status(), qPrintable(diagnostics(file.status()).join('\n')));
        const Lumex::CamProperty root = file.root();
        QCOMPARE(describe(root),
                 QString::fromUtf8(fileBytes(QFile::decodeName(dataFile("golden/structure.txt"))))
                     .split('\n', Qt::SkipEmptyParts));
        QVERIFY(root.child(nullptr, 9).is(Lumex::CamProperty::OtherNode | Lumex::CamProperty::TextNode));
        QCOMPARE(QList<unsigned>({root.count(nullptr), root.count("x"), root.count("target")}),
                 QList<unsigned>({10, 2, 0}));
        QCOMPARE(root.child(nullptr, 3).property(), root["x"]);
        QVERIFY(root["x"] != root.child("x", 1).property());
        // Iterating by name passes over other nodes.
        auto it = root.cbegin("x");
        QVERIFY((*it++).property() == root["x"] && !(++it != it.end()));
    }

    // Every way of reaching a child that is not there gives a null handle that says why.
    void absentChildren()
    {
        Lumex::CamFile file("<r><a/><b/><a/></r>", Lumex::CamFile::SourceText);
        Lumex::CamProperty root = file.root();
        auto past = root.begin("a");
        ++past;
        past++;
        QVERIFY(!(past != root.end("a")) && !root["a"].isNull());
        const QVector<QPair<const char*, Lumex::ConstCamProperty>> absent = {
            {"child by name", root.child("c", 0)}, {"any child beyond last", root.child(nullptr, 3)},
            {"chained", root["c"]["d"]["e"]},      {"begin of absent name", *root.begin("c")},
            {"iteration past last", *past},        {"child of null", Lumex::CamProperty().child("a", 0)},
            {"default", Lumex::ConstCamProperty()}};
        for (const auto& [how, found] : absent) {
            const Lumex::Error why = found.error();
            QVERIFY2(!found && found.isNull() && !found.name() && !found.get() && found.count(nullptr) == 0 &&
                         !why && why.message() && *why.message(),
                     how);
        }
    }

    void numericAttributes_data()
    {
        OrvexTest::addTableRows(QStringLiteral("tests/platform/data/tables/numbers.txt"),
                                {"attribute", "type", "expected"});
    }

    void numericAttributes()
    {
        QFETCH(QByteArray, attribute);
        QFETCH(QByteArray, type);
        QFETCH(QByteArray, expected);
        const bool valid = expected != "refused";

        const Lumex::CamFile file(QByteArray("<r " + attribute + "/>").constData(),
                                  Lumex::CamFile::SourceText);
        const Lumex::ConstCamProperty root = file.root();
        // The output keeps its preset value on failure.
        const auto read = [&](auto a_value, Lumex::Error& a_result) {
            a_result = root.get("v", a_value);
            return double(a_value);
        };
        Lumex::Error result;
        const double value = type == "int"        ? read(99, result)
                             : type == "unsigned" ? read(99u, result)
                                                  : read(99.0, result);
        QCOMPARE(bool(result), valid);
        QCOMPARE(value, valid ? expected.toDouble() : 99.0);
        QVERIFY(valid || (result.message() && *result.message()));
    }

    // Written, read back and written again: the document reads back as it was, passes xmllint and is
    // written again byte for byte. The bytes, or what went wrong.
    QByteArray writtenTwice(Lumex::CamFile& a_file)
    {
        const QString path = m_temp.filePath(QStringLiteral("written.lumex"));
        const Lumex::Error written = a_file.write(QFile::encodeName(path).constData());
        QString lint;
        if (!written || OrvexTest::runXmllint(path, QString(), &lint) != 0 || !lint.trimmed().isEmpty())
            return "not written: " + diagnostics(written).join('\n').toUtf8() + lint.toUtf8();
        const QByteArray bytes = fileBytes(path);
        Lumex::CamFile reread;
        const Lumex::Error loaded = reread.load(QFile::encodeName(path).constData(), 0);
        if (!loaded || describe(reread.root()) != describe(a_file.root()))
            return "read back otherwise: " + diagnostics(loaded).join('\n').toUtf8();
        return reread.write(tempFile("again.lumex").constData()) &&
                       fileBytes(m_temp.filePath(QStringLiteral("again.lumex"))) == bytes
                   ? bytes
                   : QByteArray("written again otherwise");
    }

    void builtDocumentRoundTrip()
    {
        Lumex::CamFile built("quarnel_config", 2);
        QVERIFY(built.status());
        Lumex::CamProperty root = built.root();
        QVERIFY(root.set("xmlns:xsi", "http://www.w3.org/2001/XMLSchema-instance"));
        QVERIFY(root.set("xsi:noNamespaceSchemaLocation", "camera.xsd"));
        QVERIFY(root.push_back(Lumex::CamProperty::CommentNode).set(" written by the test "));
        Lumex::CamProperty camera = root.push_back("camera");
        QVERIFY(camera.set("name", "Cam \"A\" <&> 'x'\n\ttabbed"));
        Lumex::CamProperty features = camera.push_back("features");
        QVERIFY(features.push_back(16).set("\n    "));
        QVERIFY(features.push_back("standard").set("CameraLink"));
        QVERIFY(features.push_back("script").set("if (a < b && c > d) ]]> \"q\" \r done"));
        QVERIFY(features.push_back(4).set("between <features> & such"));
        QVERIFY(features.push_back("blank").set("   "));
        QVERIFY(features.push_back("unicode").set("caf\xc3\xa9 \xe2\x98\x83 \xf0\x9d\x84\x9e"));
        features.push_back("empty");
        Lumex::CamProperty modes = root.push_back("modes");
        for (const char* name : {"Default", "Fast", "Slow"}) {
            Lumex::CamProperty mode = modes.push_back("mode");
            QVERIFY(mode.set("name", name));
            QVERIFY(mode.set("index", QByteArray::number(modes.count("mode")).constData()));
        }
        QVERIFY(root.push_back(Lumex::CamProperty::TextNode).set("\n"));
        built.setDeclaration(nullptr);
        QCOMPARE(writtenTwice(built), fileBytes(QFile::decodeName(dataFile("golden/built.xml"))));
    }

    // Comments, CDATA, processing instructions, white space and namespaces are written back unchanged;
    // namespace declarations read as attributes, first.
    void fileRoundTrip()
    {
        Lumex::CamFile file;
        const Lumex::Error loaded =
            file.load(dataFile("roundtrip.xml").constData(), Lumex::CamFile::SourcePath);
        QVERIFY2(loaded, qPrintable(diagnostics(loaded).join('\n')));
        QCOMPARE(QString::fromUtf8(writtenTwice(file)),
                 QString::fromUtf8(fileBytes(QFile::decodeName(dataFile("roundtrip.xml")))));

        const Lumex::ConstCamProperty root = file.root();
        QCOMPARE(describe(root).first(),
                 QStringLiteral("element quarnel_config "
                                "@xmlns:xsi=[http://www.w3.org/2001/XMLSchema-instance] "
                                "@xsi:noNamespaceSchemaLocation=[camera.xsd] "
                                "@note=[a & b < c > d \"q\"] [\n\t\n  \n  \n]"));
        const char* value = "unchanged";
        QVERIFY(!root.get("noNamespaceSchemaLocation", value) && !root.get(nullptr, value));
        QCOMPARE(text(value), QStringLiteral("unchanged"));
        const Lumex::ConstCamProperty features = root["camera"]["features"];
        QCOMPARE(text(features["script"].get()), QStringLiteral("if (a < b && c) { return \"]]\"; }"));
        QCOMPARE(text(features["mixed"].get()), QStringLiteral("before<inside>after & more"));
    }

    void editing()
    {
        Lumex::CamFile file("<p:r xmlns:p='urn:p' a='1'><p:c/>one<x/>two<!--k--></p:r>",
                            Lumex::CamFile::SourceText);
        Lumex::CamProperty root = file.root();
        QCOMPARE(root.count("c"), 0u);
        // Texts handed out before a change still read as they were after it.
        Lumex::CamProperty comment = root.child(nullptr, 4).property();
        const char* held[] = {root.name(), root.get(), nullptr, comment.get()};
        QVERIFY(root.get("a", held[2]));
        const auto texts = [&held] {
            QStringList all;
            for (const char* one : held)
                all << text(one);
            return all;
        };
        const QStringList before = texts();

        // The element's texts become one, where the first of them was.
        QVERIFY(root.set("value"));
        QCOMPARE(text(root.child(nullptr, 1).get()), QStringLiteral("value"));
        QCOMPARE(root.count(nullptr), 4u);

        QVERIFY(root.set("a", "2"));
        QVERIFY(root.set("b", "3"));
        QVERIFY(root.set("xmlns:p", "urn:q"));
        QCOMPARE(describe(root).first(),
                 QStringLiteral("element p:r @xmlns:p=[urn:q] @a=[2] @b=[3] [value]"));

        root.set_name("renamed");
        root.set_name("not a name");
        QCOMPARE(text(root.name()), QStringLiteral("renamed"));

        QVERIFY(root.set(nullptr));
        QCOMPARE(root.count(nullptr), 3u);
        QVERIFY(comment.set("changed"));

        root.clear();
        QCOMPARE(describe(root), QStringList({"element renamed []"}));
        QCOMPARE(texts(), before);

        // Clearing removes the declaration of the element's own prefix; its name is kept as written.
        Lumex::CamFile prefixed("<p:r xmlns:p='urn:p'><c/></p:r>", Lumex::CamFile::SourceText);
        Lumex::CamProperty prefixedRoot = prefixed.root();
        prefixedRoot.clear();
        QCOMPARE(text(prefixedRoot.name()), QStringLiteral("p:r"));
        QVERIFY(prefixed.write(tempFile("cleared.lumex").constData()));
        QVERIFY(fileBytes(m_temp.filePath(QStringLiteral("cleared.lumex"))).contains("<p:r/>"));
    }

    void invalidInput_data()
    {
        OrvexTest::addTableRows(QStringLiteral("tests/platform/data/tables/invalid-input.txt"),
                                {"operation", "argument"});
    }

    // What cannot be written as well-formed markup is refused, and the document stays writable.
    void invalidInput()
    {
        QFETCH(QByteArray, operation);
        QFETCH(QByteArray, argument);

        Lumex::CamFile file("quarnel_config", 2);
        Lumex::CamProperty root = file.root();
        Lumex::CamProperty text = root.push_back(Lumex::CamProperty::TextNode);
        QVERIFY(text.set("kept"));
        if (operation == "comment") {
            QVERIFY(!root.push_back(Lumex::CamProperty::CommentNode).set(argument.constData()));
        } else if (operation == "text") {
            QVERIFY(!text.set(argument.constData()));
            QVERIFY(!root.set(argument.constData()));
            QVERIFY(!root.set("a", argument.constData()));
        } else if (operation == "element") {
            QVERIFY(root.push_back(argument.constData()).isNull());
        } else if (operation == "attributeName") {
            QVERIFY(!root.set(argument.constData(), "v"));
        } else {
            Lumex::CamFile bad(argument.constData(), 2);
            QVERIFY(!bad.status());
            QVERIFY(!bad.write(tempFile("bad.lumex").constData()));
        }
        QVERIFY(root.push_back(0).isNull());
        QVERIFY(text.push_back("child").isNull());
        QVERIFY(file.write(tempFile("invalid-input.lumex").constData()));
        QCOMPARE(OrvexTest::runXmllint(m_temp.filePath(QStringLiteral("invalid-input.lumex")), QString()), 0);
    }

    void declaration_data()
    {
        OrvexTest::addTableRows(QStringLiteral("tests/platform/data/tables/declarations.txt"),
                                {"declaration", "start", "encodedText"});
    }

    void declaration()
    {
        QFETCH(QByteArray, declaration);
        const bool useNull = declaration == "null";
        QFETCH(QByteArray, start);
        QFETCH(QByteArray, encodedText);

        Lumex::CamFile file("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<r>caf\xe9</r>",
                            Lumex::CamFile::SourceText);
        QCOMPARE(text(file.root().get()), QString::fromUtf8("caf\xc3\xa9"));
        file.setDeclaration(useNull ? nullptr : declaration.constData());
        const QString path = m_temp.filePath(QString::fromUtf8("d\xc3\xa9"
                                                               "claration.lumex"));
        QFile::remove(path);
        const Lumex::Error written = file.write(QFile::encodeName(path).constData());
        QCOMPARE(bool(written), !start.isEmpty());
        if (start.isEmpty()) {
            QVERIFY(written.message());
            QVERIFY(!QFile::exists(path));
            return;
        }
        const QByteArray bytes = fileBytes(path);
        QCOMPARE(bytes, start + encodedText + "</r>\n");
        QCOMPARE(OrvexTest::runXmllint(path, QString()), 0);
        Lumex::CamFile reread(QFile::encodeName(path).constData(), 0);
        QVERIFY(reread.status());
        QCOMPARE(text(reread.root().get()), QString::fromUtf8("caf\xc3\xa9"));
    }

    void writeFailure()
    {
        const Lumex::CamFile document("quarnel_config", 2);
        const Lumex::CamFile empty;
        const QVector<QPair<const Lumex::CamFile*, QByteArray>> cases = {
            {&document, tempFile("missing/folder/camera.lumex")},
            {&document, QByteArray()},
            {&empty, tempFile("empty.lumex")}};
        for (const auto& [file, path] : cases) {
            const Lumex::Error written = file->write(path.isEmpty() ? nullptr : path.constData());
            QVERIFY2(!written && written.name() && *written.name() && written.message() && *written.message(),
                     path.constData());
            QVERIFY(written.skip_next(1));
        }
    }

    // White space that only lays out an element holding elements is left out on request; any other
    // text, and the white space beside it, stays.
    void layoutSpace()
    {
        const char* text = "<r>\n  <a> 1 </a>\n  <b> </b>\n  <m>x<i/> </m>\n  <c><![CDATA[ ]]><i/>\n</c>\n"
                           "  <!-- note -->\n</r>";
        Lumex::CamFile dropped;
        dropped.setDropsLayoutSpace(true);
        QVERIFY(dropped.load(text, Lumex::CamFile::SourceText));
        QCOMPARE(
            describe(dropped.root()).join(QLatin1Char('\n')),
            QStringLiteral("element r []\n"
                           "  element a [ 1 ]\n    text <null> [ 1 ]\n"
                           "  element b [ ]\n    text <null> [ ]\n"
                           "  element m [x ]\n    text <null> [x]\n    element i []\n    text <null> [ ]\n"
                           "  element c [ ]\n    text <null> [ ]\n    element i []\n"
                           "  comment <null> [ note ]"));
    }

    // A text that surely keeps no layout is told without reading it, and read() agrees.
    void mayHoldLayout_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<bool>("mayHold");
        QTest::newRow("laid out") << QByteArray("<?xml version='1.0'?>\n<r>\n  <a/>\n</r>\n") << true;
        QTest::newRow("one line") << QByteArray("<?xml version='1.0'?>\n<r><a/></r>\n") << false;
        QTest::newRow("comment first") << QByteArray("<!-- x -->\n<r><a/>\n</r>") << true;
        QTest::newRow("latin-1") << QByteArray("<?xml version='1.0' encoding='ISO-8859-1'?>\n<r>\n</r>")
                                 << false;
        QTest::newRow("utf-8") << QByteArray("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<r>\n</r>") << true;
        QTest::newRow("empty") << QByteArray() << false;
    }

    void mayHoldLayout()
    {
        QFETCH(QByteArray, text);
        QFETCH(bool, mayHold);
        QCOMPARE(Lumex::LumexSource::mayHoldLayout(text), mayHold);
        QCOMPARE(Lumex::LumexSource::read(text) != nullptr, mayHold);
    }

    // A mode the document holds as the text does is read without its content; the document's first
    // mode, emptied, stands for it and is written as the text has it. The document's "B" is changed.
    void modePlaceholders_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QByteArray>("document");
        QTest::addColumn<bool>("matched");
        QTest::addColumn<QByteArray>("merged");
        const QByteArray text =
            "<r>\n  <modes>\n    <mode name='A'><!-- kept --> <v> 1</v>\n<v>2</v></mode>\n"
            "    <mode name=\"B\"><v>3</v></mode>\n  </modes>\n</r>\n";
        QTest::newRow("unchanged") << text
                                   << QByteArray("<r><modes><mode name='A'><v>1</v><v>2</v></mode>"
                                                 "<mode name='B'><v>4</v></mode></modes></r>")
                                   << true << QByteArray(text).replace("<v>3</v>", "<v>4</v>");
        QTest::newRow("changed") << text
                                 << QByteArray("<r><modes><mode name='A'><v>1</v><v>5</v></mode>"
                                               "<mode name='B'><v>4</v></mode></modes></r>")
                                 << false << QByteArray();
        QTest::newRow("named twice") << QByteArray(text).replace("\"B\"", "'A'")
                                     << QByteArray("<r><modes><mode name='A'><v>1</v><v>2</v></mode>"
                                                   "<mode name='B'><v>4</v></mode></modes></r>")
                                     << false << QByteArray();
    }

    void modePlaceholders()
    {
        QFETCH(QByteArray, text);
        QFETCH(QByteArray, document);
        QFETCH(bool, matched);
        QFETCH(QByteArray, merged);

        Lumex::CamFile written(document.constData(), Lumex::CamFile::SourceText);
        Lumex::CamProperty mode = written.root()["modes"]["mode"];
        const std::size_t signature = Lumex::LumexSource::signature(mode);
        Lumex::LumexSource::ModeSignatures modes;
        modes.expected.emplace("A", signature);
        const auto source = Lumex::LumexSource::read(text, modes);
        QCOMPARE(modes.matched.count("A") == 1, matched);
        QCOMPARE(source && matched, !merged.isEmpty());

        mode.clear();
        QVERIFY(mode.set("name", "A"));
        QByteArray result;
        const bool ok = source && source->merge(written, result, {{mode, signature}});
        QCOMPARE(ok ? result : QByteArray(), merged);
    }
};

QTEST_GUILESS_MAIN(TestLumex)
#include "tst_lumex.moc"
