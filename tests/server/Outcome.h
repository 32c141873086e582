#pragma once

#include "core/automation/Errors.h"
#include "core/automation/SafeArray.h"
#include "tests/support/PrintQt.h"
#include "velsqllib/ValueText.h"
#include "velsqllib/WireText.h"

using namespace Qt::StringLiterals;

/// What `action` answers, values as typed text, "done" when it answers nothing; or the description with which it fails,
/// here or at the server.
template <typename Action>
QString OutcomeOf(Action action)
{
    using Answer = std::invoke_result_t<Action>;
    try {
        if constexpr (std::is_same_v<Answer, QString>) return action();
        else if constexpr (std::is_same_v<Answer, Variant>) return WriteTypedText(action());
        else action();
        return u"done"_s;
    } catch (const DescribedError& error) {
        return error.Description();
    } catch (const kj::Exception& exception) {
        return DescriptionOf(exception).remove(u"remote exception: "_s);
    }
}

/// What the console's dialog sends when only the name "New" has been typed.
inline QList<Variant> UntouchedDefinition()
{
    return ReadTypedText(
               u"8204,{8,New},{11,True},{8,},{8,},{2,0},{8,},{8,},{2,0},{8,},{11,False},{8,},{2,3},{11,False},"
               "{11,False},{11,False},{2,0},{11,False},{8,0},{8,0},{11,False},{8,0},{8,0},{11,False},{8,0},"
               "{11,False},{8,0},{11,False},{2,0},{8,},{11,False},{2,12},{11,False},{2,12},{11,False},"
               "{11,False},{11,False},{2,0},{2,0},{2,0},{8,},{8,}"_s)
        .Array()
        .Of<Variant>();
}
