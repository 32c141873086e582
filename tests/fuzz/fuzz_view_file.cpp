// A view file of the trend. What is read is written and reads the same.
#include "core/automation/Errors.h"
#include "tests/fuzz/Fuzz.h"
#include "trend/files/ViewFile.h"

extern "C" int LLVMFuzzerTestOneInput(const quint8* bytes, size_t size)
{
    SavedView view;
    try {
        view = ViewFile::FromJson(BytesOf(bytes, size));
    } catch (const DescribedError& error) {
        Require(!error.Description().isEmpty());
        return 0;
    }
    Require(view.Of.Shown == view.Of.Shown.Bounded());
    const QByteArray written = ViewFile::ToJson(view);
    const SavedView again = ViewFile::FromJson(written);
    Require(again == view);
    Require(ViewFile::ToJson(again) == written);
    return 0;
}
