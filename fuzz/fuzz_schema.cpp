#include "FuzzSupport.h"

#include <cstddef>
#include <cstdint>
#include <memory>

// A mutated schema either builds a camera or is refused with its message. Both shipped examples are read
// against it; whatever of them loads is saved and read back.
extern "C" int LLVMFuzzerInitialize(int* a_argc, char*** a_argv)
{
    OrvexFuzz::startApplication(a_argc, a_argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* a_data, std::size_t a_size)
{
    const QString schema = OrvexFuzz::writeFile(
        QStringLiteral("input.xsd"), QByteArray(reinterpret_cast<const char*>(a_data), int(a_size)));
    const QString saved = OrvexFuzz::scratchPath(QStringLiteral("saved.lumex"));
    for (const char* example : {"/examples/Example_CL.lumex", "/examples/Example_CXP.lumex"}) {
        {
            auto document = std::make_unique<OrvexFuzz::Document>();
            try {
                if (!document->open(QStringLiteral(ORVEX_SOURCE_DIR) + QLatin1String(example), schema))
                    continue;
                if (document->save(saved)) {
                    auto reread = std::make_unique<OrvexFuzz::Document>();
                    reread->open(saved, schema);
                }
            } catch (const Orvex::ExceptionBase&) {
                // The schema is refused, or the example does not fit it, or what it printed does not.
            }
        }
        OrvexFuzz::settle();
    }
    return 0;
}
