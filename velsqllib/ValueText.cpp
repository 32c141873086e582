#include "velsqllib/ValueText.h"

#include "core/automation/SafeArray.h"
#include "velsqllib/ScalarText.h"
#include "velsqllib/TextCursor.h"
#include "velsqllib/TextErrors.h"
#include "velsqllib/TypeCode.h"
#include "velsqllib/ValueReader.h"

namespace {

/// Appends values to one text. Inside an array a text is an element, quoted if necessary; on its own it is written
/// unchanged.
class ValueWriter
{
public:
    QString Text() && { return std::move(m_Text); }

    void AppendTyped(const Variant& value)
    {
        m_Text += QString::number(value.Type());
        if (value.IsEmpty() || value.IsNull()) return;
        m_Text += u',';
        Append(value);
    }

    void Append(const Variant& value)
    {
        RequireText(value.Type());
        try {
            std::visit([this](const auto& payload) { AppendPayload(payload); }, value.Data());
        } catch (const ValueError& error) {
            throw ValueError(TypeName(value.Type()) + QStringLiteral(": ") + error.Description());
        }
    }

private:
    template <typename T>
    void AppendPayload(const T& payload)
    {
        if constexpr (std::is_same_v<T, SafeArrayRef>) AppendArray(*payload);
        else if constexpr (std::is_same_v<T, QString>)
            m_Depth > 0 ? AppendTextElement(m_Text, payload) : AppendWhole(payload);
        else if constexpr (!HasNoText<T>) AppendScalar(m_Text, payload);
    }

    template <typename T>
    static constexpr bool HasNoText =
        std::is_same_v<T, std::monostate> || std::is_same_v<T, Null> || std::is_same_v<T, ObjectRef>;

    void AppendWhole(const QString& text) { m_Text += text; }

    void AppendArray(const SafeArray& array)
    {
        if (m_Depth == MaxArrayDepth) throw NestedTooDeep();
        ++m_Depth;
        AppendLowerBound(m_Text, array.LowerBound());
        std::visit([this](const auto& elements) { AppendElements(elements); }, array.Data());
        --m_Depth;
    }

    template <typename T>
    void AppendElements(const QList<T>& elements)
    {
        for (qsizetype i = 0; i < elements.size(); ++i) {
            if (i > 0) m_Text += u',';
            AppendElement(elements[i]);
        }
    }

    template <typename T>
    void AppendElement(const T& element)
    {
        AppendPayload(element);
    }

    void AppendElement(const Variant& element)
    {
        m_Text += u'{';
        AppendTyped(element);
        m_Text += u'}';
    }

    QString m_Text;
    int m_Depth = 0;
};

} // namespace

Variant ReadTypedText(QStringView typedText)
{
    return ValueReader(typedText).ReadTyped();
}

QString WriteTypedText(const Variant& value)
{
    ValueWriter writer;
    writer.AppendTyped(value);
    return std::move(writer).Text();
}

Variant ReadValueText(VarType type, QStringView text)
{
    return ValueReader(text).ReadValue(type);
}

QString WriteValueText(const Variant& value)
{
    ValueWriter writer;
    writer.Append(value);
    return std::move(writer).Text();
}
