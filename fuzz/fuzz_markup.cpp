#include "FuzzSupport.h"
#include "platform/Lumex.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

using OrvexFuzz::require;

namespace {

// Reads everything a node offers and checks that the different ways of reaching the same thing agree.
void inspect(const Lumex::CamProperty& a_node)
{
    a_node.name();
    a_node.is(Lumex::CamProperty::CommentNode);
    a_node.is(Lumex::CamProperty::OtherNode);
    a_node.is(Lumex::CamProperty::TextNode);
    a_node.get();

    const unsigned attributes = a_node.attribute_count();
    require(a_node.attribute(attributes) == nullptr, "no attribute past the last one");
    for (unsigned index = 0; index < attributes; ++index) {
        const char* name = a_node.attribute(index);
        require(name != nullptr, "every counted attribute has a name");
        const char* value = nullptr;
        require(bool(a_node.get(name, value)) && value, "every listed attribute can be read by its name");
        int whole = 0;
        unsigned natural = 0;
        double real = 0.0;
        a_node.get(name, whole);
        a_node.get(name, natural);
        a_node.get(name, real);
    }

    const unsigned children = a_node.count(nullptr);
    unsigned walked = 0;
    for (auto child = a_node.begin(nullptr); child != a_node.end(nullptr); ++child) {
        require(a_node.child(nullptr, walked).property() == child->property(),
                "indexing agrees with iteration");
        if (const char* name = child->name(); name && !child->is(Lumex::CamProperty::OtherNode)) {
            require(a_node.count(name) > 0, "a child is counted under its own name");
            require(!a_node.child(name, 0).isNull(), "the first child of a name is found");
        }
        ++walked;
    }
    require(walked == children, "iteration visits every counted child");
    require(!a_node.child(nullptr, children), "no child past the last one");
    require(!*a_node.end(nullptr), "the end of the children is a null handle");
}

// What was read from a document can be written back into it.
void rewrite(Lumex::CamProperty a_node)
{
    if (a_node.is(Lumex::CamProperty::OtherNode))
        return;
    const std::string text = a_node.get();
    if (a_node.is(Lumex::CamProperty::CommentNode) || a_node.is(Lumex::CamProperty::TextNode) ||
        a_node.count(nullptr) == 0)
        require(bool(a_node.set(text.c_str())), "a node's own text can be set again");
    std::vector<std::pair<std::string, std::string>> attributes;
    for (unsigned index = 0; index < a_node.attribute_count(); ++index) {
        const char* value = "";
        a_node.get(a_node.attribute(index), value);
        attributes.emplace_back(a_node.attribute(index), value);
    }
    for (const auto& [name, value] : attributes) {
        require(bool(a_node.set(name.c_str(), value.c_str())), "an attribute read can be set again");
        const char* again = nullptr;
        require(bool(a_node.get(name.c_str(), again)) && value == again, "an attribute keeps what was set");
    }
    // Whatever element was read can be written into another document, as the printer copies them.
    if (!a_node.is(Lumex::CamProperty::CommentNode | Lumex::CamProperty::OtherNode |
                   Lumex::CamProperty::TextNode)) {
        Lumex::CamFile copy("copy", Lumex::CamFile::SourceRootName);
        Lumex::CamProperty element = copy.root().push_back(a_node.name());
        require(!element.isNull(), "an element name read can be written");
        for (const auto& [name, value] : attributes)
            require(bool(element.set(name.c_str(), value.c_str())), "an attribute read can be copied");
    }
}

void walk(Lumex::CamFile& a_file, bool a_rewrite)
{
    std::vector<Lumex::CamProperty> pending{a_file.root()};
    while (!pending.empty()) {
        const Lumex::CamProperty node = pending.back();
        pending.pop_back();
        inspect(node);
        // Setting an element's text replaces its text children, so they are collected afterwards.
        if (a_rewrite)
            rewrite(node);
        for (auto child = node.begin(nullptr); child != node.end(nullptr); ++child)
            pending.push_back(child->property());
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* a_argc, char*** a_argv)
{
    OrvexFuzz::startApplication(a_argc, a_argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* a_data, std::size_t a_size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(a_data), int(a_size));
    const QByteArray path = QFile::encodeName(OrvexFuzz::writeFile(QStringLiteral("input.xml"), bytes));

    Lumex::CamFile file;
    if (!file.load(path.constData(), Lumex::CamFile::SourcePath)) {
        require(file.isEmpty(), "a failed load leaves the empty document");
        return 0;
    }
    // The same text given in memory reads the same way, as far as it has no NUL byte.
    if (std::memchr(a_data, 0, a_size) == nullptr) {
        Lumex::CamFile inMemory;
        require(bool(inMemory.load(bytes.constData(), Lumex::CamFile::SourceText)),
                "text and file load alike");
    }
    walk(file, false);

    // A loaded document is written, read again and written again without any change.
    const QByteArray first = QFile::encodeName(OrvexFuzz::scratchPath(QStringLiteral("first.xml")));
    const QByteArray second = QFile::encodeName(OrvexFuzz::scratchPath(QStringLiteral("second.xml")));
    require(bool(file.write(first.constData())), "a loaded document can be written");
    Lumex::CamFile reread;
    require(bool(reread.load(first.constData(), Lumex::CamFile::SourcePath)), "a written document loads");
    require(bool(reread.write(second.constData())), "a reloaded document can be written");
    require(OrvexFuzz::readFile(QFile::decodeName(first)) == OrvexFuzz::readFile(QFile::decodeName(second)),
            "writing is stable once read back");

    walk(file, true);
    Lumex::CamProperty root = file.root();
    root.push_back("fuzz").set("value", "<&\"'>");
    root.push_back(Lumex::CamProperty::CommentNode).set("a comment");
    require(bool(file.write(first.constData())), "an edited document can be written");
    require(bool(reread.load(first.constData(), Lumex::CamFile::SourcePath)), "an edited document loads");
    return 0;
}
