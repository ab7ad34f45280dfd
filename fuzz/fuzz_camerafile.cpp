#include "FuzzSupport.h"

#include <cstddef>
#include <cstdint>
#include <memory>

using OrvexFuzz::require;

namespace {

// Saving what loaded must succeed, and the saved file must load again and save to the same bytes.
void roundTrip(OrvexFuzz::Document& a_document)
{
    const QString first = OrvexFuzz::scratchPath(QStringLiteral("first.lumex"));
    const QString second = OrvexFuzz::scratchPath(QStringLiteral("second.lumex"));
    bool saved = false;
    try {
        saved = a_document.save(first);
    } catch (const Orvex::ExceptionBase& a_error) {
        std::fprintf(stderr, "%s\n", a_error.what());
        require(false, "a loaded camera file can be saved");
    }
    require(saved, "a loaded camera file is written");

    auto reread = std::make_unique<OrvexFuzz::Document>();
    try {
        require(reread->open(first), "a saved camera file keeps its standard");
        require(reread->save(second), "a reloaded camera file is written");
    } catch (const Orvex::ExceptionBase& a_error) {
        std::fprintf(stderr, "%s\n", a_error.what());
        require(false, "a saved camera file loads and saves again");
    }
    require(OrvexFuzz::readFile(first) == OrvexFuzz::readFile(second), "saving is stable once read back");
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* a_argc, char*** a_argv)
{
    OrvexFuzz::startApplication(a_argc, a_argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* a_data, std::size_t a_size)
{
    const QString path = OrvexFuzz::writeFile(QStringLiteral("input.lumex"),
                                              QByteArray(reinterpret_cast<const char*>(a_data), int(a_size)));
    {
        auto document = std::make_unique<OrvexFuzz::Document>();
        bool loaded = false;
        try {
            loaded = document->open(path);
        } catch (const Orvex::ExceptionBase&) {
            // A refusal with its message is the expected answer to most inputs.
        }
        if (loaded)
            roundTrip(*document);
    }
    OrvexFuzz::settle();
    return 0;
}
