// Stands for libFuzzer where that is not there: gives each file of the folders named to the target once.
#include <QDir>
#include <QFile>

#include <cstdio>

extern "C" int LLVMFuzzerTestOneInput(const quint8* bytes, size_t size);

int main(int argc, char** argv)
{
    int read = 0;
    for (int i = 1; i < argc; ++i) {
        const QDir folder(QFile::decodeName(argv[i]));
        for (const QString& name : folder.entryList(QDir::Files)) {
            QFile file(folder.filePath(name));
            if (!file.open(QIODevice::ReadOnly)) return 1;
            const QByteArray bytes = file.readAll();
            LLVMFuzzerTestOneInput(reinterpret_cast<const quint8*>(bytes.constData()),
                                   static_cast<size_t>(bytes.size()));
            ++read;
        }
    }
    std::printf("%d inputs\n", read);
    return read > 0 ? 0 : 1;
}
