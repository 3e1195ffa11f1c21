// Runs a fuzz target over given files, without a fuzzer; every build runs the seeds as regression tests.

#include "fuzztarget.h"

#include <QtCore/QByteArray>
#include <QtCore/QDir>
#include <QtCore/QFile>

#include <cstring>
#include <memory>

namespace
{

// In memory of exactly its size, so that a sanitizer detects a read beyond it.
void runOn(const QByteArray &input)
{
    const std::size_t size = static_cast<std::size_t>(input.size());
    const std::unique_ptr<std::uint8_t[]> bytes(new std::uint8_t[size]);
    std::memcpy(bytes.get(), input.constData(), size);
    LLVMFuzzerTestOneInput(bytes.get(), size);
}

bool replay(const QString &name)
{
    QFile file(name);
    if (!file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "%s cannot be read\n", qPrintable(name));
        return false;
    }
    // Printed first, so that the last line names the input that ended the program.
    std::fprintf(stderr, "%s\n", qPrintable(name));
    runOn(file.readAll());
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    int count = 0;
    for (int i = 1; i < argc; ++i) {
        const QDir folder(QString::fromLocal8Bit(argv[i]));
        for (const QString &name : folder.entryList(QDir::Files, QDir::Name)) {
            if (!replay(folder.filePath(name)))
                return EXIT_FAILURE;
            ++count;
        }
    }
    if (count == 0) {
        std::fprintf(stderr, "no seeds there; usage: %s FOLDER...\n", argv[0]);
        return EXIT_FAILURE;
    }
    std::printf("%d seeds\n", count);
    return EXIT_SUCCESS;
}
