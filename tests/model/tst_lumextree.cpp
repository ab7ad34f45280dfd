#include "BoardFixtures.h"
#include "FileFixtures.h"
#include "TestSupport.h"
#include "model/LumexTree.h"
#include "model/LumexTreeElement.h"
#include "model/LumexTreeMode.h"

#include <QCoreApplication>
#include <QPointer>
#include <QTest>

#include <memory>

using Orvex::LumexTree;
using Orvex::LumexTreeElement;
using Orvex::LumexTreeMode;

namespace {

// Stands in for the editor's mode element, which the tree knows only by its "id" property.
class FakeModeElement : public QObject
{
    Q_OBJECT
    Q_PROPERTY(quint64 id READ id)

public:
    explicit FakeModeElement(quint64 a_id) : m_id(a_id) {}
    quint64 id() const { return m_id; }

private:
    quint64 m_id;
};

const QStringList modesPath{QStringLiteral("quarnel_config"), QStringLiteral("camera"),
                            QStringLiteral("modes")};

// Named children only: "a(b,c(d))".
QString shape(const LumexTreeElement* a_node)
{
    QStringList children;
    for (const LumexTreeElement* child : a_node->childElements())
        children << shape(child);
    return a_node->name() + (children.isEmpty() ? QString() : "(" + children.join(',') + ")");
}

bool setFlag(LumexTreeElement* a_node, const QByteArray& a_flag, bool a_value)
{
    return a_flag == "isText"        ? a_node->setIsText(a_value)
           : a_flag == "isAttribute" ? a_node->setIsAttribute(a_value)
           : a_flag == "isComment"   ? a_node->setIsComment(a_value)
                                     : a_node->setIsSchemaCompliant(a_value);
}

// A node that notes its own deletion, the only way to see when a plain node goes.
class NotingNode : public LumexTreeElement
{
public:
    NotingNode(const QString& a_name, LumexTreeElement* a_parent, QStringList* a_deleted)
        : LumexTreeElement(a_name, a_parent), m_deleted(a_deleted)
    {
    }
    ~NotingNode() override { *m_deleted << name(); }

private:
    QStringList* m_deleted;
};

void processDeferredDeletes()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

// A template "mode" with a compliant category holding an id-linked feature and its attribute.
LumexTreeElement* addModeTemplate(LumexTree& a_tree)
{
    LumexTreeElement* mode = a_tree.elementByPath(modesPath + QStringList{"mode"}, true);
    LumexTreeElement* feature =
        mode->descendantByPath(modesPath + QStringList{"mode", "Acquisition", "Width"}, true);
    feature->setValue("640");
    feature->setElementId(17);
    LumexTreeElement* unit = feature->addChild("unit");
    unit->setIsAttribute(true);
    unit->setValue("px");
    LumexTreeElement* name = mode->addChild("name");
    name->setIsAttribute(true);
    name->setIsSchemaCompliant(true);
    return mode;
}

} // namespace

class TestLumexTree : public QObject
{
    Q_OBJECT

private slots:
    void flagSetters_data()
    {
        OrvexTest::addTableRows(QStringLiteral("tests/model/data/tree/flags.txt"),
                                {"node", "preset", "flag", "request", "returned", "flags"});
    }

    void flagSetters()
    {
        QFETCH(QByteArray, node);
        QFETCH(QByteArray, preset);
        QFETCH(QByteArray, flag);
        QFETCH(QByteArray, request);
        QFETCH(QByteArray, returned);
        QFETCH(QByteArray, flags);

        LumexTree tree(QString{});
        FakeModeElement modeObject(42);
        tree.elementByPath(modesPath + QStringList{"mode"}, true);
        const QString name = QString::fromLatin1(node).section('+', 0, 0);
        LumexTreeElement* element = name == "mode" ? tree.attachMode(&modeObject)
                                                   : tree.elementByPath({"quarnel_config", name}, true);
        QVERIFY(preset.isEmpty() || setFlag(element, preset, true));
        LumexTreeElement* child = node.endsWith("+child") ? element->addChild("child") : nullptr;
        if (child)
            child->setIsSchemaCompliant(true);

        QCOMPARE(setFlag(element, flag, request == "1"), returned == "1");
        QCOMPARE(QByteArray::number(element->isText()) + QByteArray::number(element->isAttribute()) +
                     QByteArray::number(element->isComment()) +
                     QByteArray::number(element->isSchemaCompliant()),
                 flags);
        QVERIFY(!child || child->isSchemaCompliant() == element->isSchemaCompliant());
    }

    // Lookup by path and by name and position; compliance needs a compliant parent, withdrawing it
    // withdraws it from the whole subtree; pruning drops compliant leaves, repeatedly, and keeps unknown
    // content with what leads to it.
    void lookupComplianceAndPrune()
    {
        LumexTree tree(QString{});
        LumexTreeElement* root = tree.root();
        QCOMPARE(tree.elementByPath({}, false), root);
        LumexTreeElement* camera = tree.elementByPath({"quarnel_config", "camera"}, true);
        LumexTreeElement* config = camera->parentElement();
        QVERIFY(camera->isSchemaCompliant() && config->isSchemaCompliant());
        QCOMPARE(camera->path(), (QStringList{"quarnel_config", "camera"}));
        QCOMPARE(tree.elementByPath({"quarnel_config", "camera"}, false), camera);

        LumexTreeElement* a0 = camera->addChild("a");
        LumexTreeElement* b0 = camera->addChild("b");
        LumexTreeElement* a1 = camera->addChild("a");
        QVERIFY(!a0->isSchemaCompliant());
        QCOMPARE(camera->childByName("a", 1), a1);
        QCOMPARE(camera->childByName("a", 2), nullptr);
        QCOMPARE(camera->childByName("a", -1), nullptr);
        QCOMPARE(camera->childElements("a"), (QList<LumexTreeElement*>{a0, a1}));
        QCOMPARE(camera->childElements(), (QList<LumexTreeElement*>{a0, b0, a1}));

        // The first child of a name is followed; missing levels take the flag, unless their parent is
        // unknown.
        LumexTreeElement* x = tree.elementByPath({"quarnel_config", "camera", "a", "x"}, true);
        QCOMPARE(x->parentElement(), a0);
        QVERIFY(!x->isSchemaCompliant() && !x->setIsSchemaCompliant(true));
        QVERIFY(!tree.elementByPath({"quarnel_config", "vendor"}, false)->isSchemaCompliant());
        QCOMPARE(shape(root), QStringLiteral("(quarnel_config(camera(a(x),b,a),vendor))"));

        // Only paths that start with the node's own path lead below it.
        QCOMPARE(camera->descendantByPath({"quarnel_config", "camera", "c", "d"}, true)->path(),
                 (QStringList{"quarnel_config", "camera", "c", "d"}));
        const QString before = shape(root);
        QCOMPARE(camera->descendantByPath({"quarnel_config"}, true), nullptr);
        QCOMPARE(camera->descendantByPath({"quarnel_config", "vendor", "camera"}, true), nullptr);
        QCOMPARE(shape(root), before);

        LumexTreeElement* deep = tree.elementByPath({"quarnel_config", "board", "modes", "mode"}, true);
        LumexTreeElement* board = deep->parentElement()->parentElement();
        QVERIFY(!config->allSchemaCompliant() && board->allSchemaCompliant());
        QVERIFY(board->setIsSchemaCompliant(false));
        for (const LumexTreeElement* node = deep; node != config; node = node->parentElement())
            QVERIFY2(!node->isSchemaCompliant(), qPrintable(node->name()));
        QVERIFY(board->setIsSchemaCompliant(true));
        QVERIFY(!deep->isSchemaCompliant() && !board->allSchemaCompliant());

        tree.elementByPath({"quarnel_config", "camera", "modes", "mode", "Acquisition"}, true);
        tree.elementByPath({"quarnel_config", "camera", "Name"}, true)->setValue("value");
        tree.elementByPath({"quarnel_config", "camera", "vendor", "note"}, false);
        tree.elementByPath({"quarnel_config", "Trigger", "Source"}, true);
        config->prune();
        QCOMPARE(shape(config),
                 QStringLiteral("quarnel_config(camera(a(x),b,a,vendor(note)),vendor,board(modes(mode)))"));
    }

    // The nearest ancestor's non-zero id; the node's own id does not count.
    void baseElementId()
    {
        LumexTree tree(QString{});
        QList<qint64> bases;
        LumexTreeElement* node = tree.root();
        for (qint64 id : {3, 0, 4, 0, 9}) {
            node = node->addChild("n");
            node->setElementId(id);
            bases << node->baseElementId();
        }
        QCOMPARE(bases, (QList<qint64>{0, 3, 3, 4, 4}));
        QCOMPARE(tree.root()->baseElementId(), 0);
    }

    void attachMode()
    {
        LumexTree tree(QString{});
        LumexTreeElement* modeTemplate = addModeTemplate(tree);
        LumexTreeElement* modes = modeTemplate->parentElement();
        FakeModeElement first(1001);
        FakeModeElement second(1002);

        QCOMPARE(tree.attachMode(nullptr), nullptr);
        LumexTreeMode* mode = tree.attachMode(&first);
        QCOMPARE(modes->childElements().last(), mode);
        QVERIFY(mode->isModeElement() && !modeTemplate->isModeElement());
        mode->setElementId(5);
        QCOMPARE(mode->elementId(), 1001);
        // The mode's own attributes come from the template; its content is read into it.
        QCOMPARE(shape(mode), QStringLiteral("mode(name)"));
        QVERIFY(mode->childByName("name")->isAttribute() && mode->childByName("name")->isSchemaCompliant());
        LumexTreeElement* width =
            mode->descendantByPath(modesPath + QStringList{"mode", "Acquisition", "Width"}, true);
        QVERIFY(width->isSchemaCompliant() && width->value().isEmpty() && width->elementId() == 0);
        QCOMPARE(width->baseElementId(), 1001);

        // The template is copied, not the newest attached mode.
        mode->childByName("Acquisition")->addChild("extra");
        LumexTreeMode* other = tree.attachMode(&second);
        QCOMPARE(shape(other), QStringLiteral("mode(name)"));
        QCOMPARE(modes->modeNode(&second), other);
        QCOMPARE(tree.modeNode(&first), mode);
        QCOMPARE(tree.attachedModes(), (QList<LumexTreeMode*>{mode, other}));

        // Without the template recorded from the schema, attached modes alone are nothing to copy.
        QVERIFY(modes->removeChild(modeTemplate));
        QCOMPARE(tree.attachMode(&first), nullptr);
        LumexTree bare(QString{});
        QCOMPARE(bare.attachMode(&first), nullptr);
        QCOMPARE(shape(bare.root()), QStringLiteral("(quarnel_config(camera(modes)))"));

        // A tree that goes first must not be reached when its mode objects go later.
        auto shortLived = std::make_unique<LumexTree>(QString{});
        addModeTemplate(*shortLived);
        QVERIFY(shortLived->attachMode(&second));
        shortLived.reset();
    }

    void modeNodeGoesAway_data()
    {
        OrvexTest::addTableRows(QStringLiteral("tests/model/data/tree/mode-gone.txt"), {"destroyObject"});
    }

    void modeNodeGoesAway()
    {
        const bool destroyObject = OrvexTest::field("destroyObject") == "1";

        LumexTree tree(QString{});
        LumexTreeElement* modes = addModeTemplate(tree)->parentElement();
        auto modeObject = std::make_unique<FakeModeElement>(3);
        FakeModeElement survivor(4);
        QPointer<LumexTreeMode> mode = tree.attachMode(modeObject.get());
        tree.attachMode(&survivor);
        // Copies of attached modes belong to the same objects and go away with them.
        LumexTreeElement* modesCopy = new LumexTreeElement(*modes, modes->parentElement());
        QPointer<LumexTreeMode> copy = modesCopy->modeNode(modeObject.get());
        QCOMPARE(copy->elementId(), 3);

        if (destroyObject)
            modeObject.reset();
        else
            QMetaObject::invokeMethod(&tree, "removeMode", Q_ARG(QObject*, modeObject.get()));

        QCOMPARE(shape(modes), QStringLiteral("modes(mode(Acquisition(Width(unit)),name),mode(name))"));
        QCOMPARE(shape(modesCopy), shape(modes));
        QCOMPARE(tree.attachedModes().size(), 2);
        QVERIFY(mode && !mode->parentElement());
        processDeferredDeletes();
        QVERIFY(!mode && !copy);
    }

    // An index out of range removes the last child; a removed node is deleted later.
    void removeChildren()
    {
        LumexTree tree(QString{});
        LumexTreeElement* node = tree.root()->addChild("n");
        QStringList deleted;
        QList<LumexTreeElement*> children;
        for (const char* name : {"a", "b", "c", "d", "e", "f"})
            children << new NotingNode(name, node, &deleted);
        const auto alive = [&deleted] {
            QString names = QStringLiteral("abcdefx");
            for (const QString& name : qAsConst(deleted))
                names.remove(name);
            return names;
        };

        QVERIFY(node->removeChildAt(0) && node->removeChildAt(5) && node->removeChildAt(-1));
        QVERIFY(!node->removeChild(tree.root()->addChild("s")));
        QVERIFY(node->removeChild(children[1]) && !node->removeChild(children[1]));
        children[2]->removeSelf();
        QCOMPARE(shape(node), QStringLiteral("n(d)"));
        QCOMPARE(alive(), QStringLiteral("abcdefx"));
        processDeferredDeletes();
        QCOMPARE(alive(), QStringLiteral("dx"));
        QVERIFY(node->removeChildAt(0) && !node->removeChildAt(0));
        (new NotingNode("x", nullptr, &deleted))->removeSelf();
        processDeferredDeletes();
        QCOMPARE(alive(), QString());
    }

    void deepCopy()
    {
        LumexTree tree(QString{});
        FakeModeElement modeObject(55);
        LumexTreeElement* modes = addModeTemplate(tree)->parentElement();
        modes->setValue("text");
        modes->setElementId(8);
        LumexTreeElement* comment = modes->addChild(QString());
        comment->setIsComment(true);
        comment->setValue("keep me");
        LumexTreeMode* mode = tree.attachMode(&modeObject);
        // As reading the mode's content would fill it.
        LumexTreeElement* width =
            mode->descendantByPath(modesPath + QStringList{"mode", "Acquisition", "Width"}, true);
        width->setValue("800");
        width->addChild("unit")->setIsAttribute(true);

        // Names and flags are copied, values and ids are not; a copied mode stays the same mode object's.
        LumexTreeElement* camera = modes->parentElement();
        LumexTreeElement* copy = new LumexTreeElement(*modes, camera);
        QCOMPARE(camera->childElements().last(), copy);
        QCOMPARE(copy->dump(), QString::fromUtf8(OrvexTest::fileBytes(OrvexTest::sourcePath(
                                                     QStringLiteral("tests/model/data/tree/deep-copy.txt"))))
                                   .split('\n', Qt::SkipEmptyParts));
        QCOMPARE(static_cast<LumexTreeMode*>(copy->childAt(2))->modeObject(), &modeObject);

        // Copying a node into itself copies what it held before, once.
        LumexTreeElement* acquisition = mode->childByName("Acquisition");
        new LumexTreeElement(*acquisition, acquisition);
        QCOMPARE(shape(acquisition), QStringLiteral("Acquisition(Width(unit),Acquisition(Width(unit)))"));

        // Under unknown content a copy cannot claim to be known to the schema.
        LumexTreeElement* foreign = new LumexTreeElement(*acquisition, camera->addChild("vendor"));
        QVERIFY(!foreign->isSchemaCompliant() && !foreign->allSchemaCompliant());

        QCOMPARE(shape(mode->cloneChild("Acquisition")), shape(acquisition));
        QCOMPARE(mode->childElements().last()->name(), QStringLiteral("Acquisition"));
        QCOMPARE(mode->cloneChild("Missing"), nullptr);
    }
};

QTEST_GUILESS_MAIN(TestLumexTree)
#include "tst_lumextree.moc"
