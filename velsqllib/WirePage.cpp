#include "velsqllib/WirePage.h"

#include "core/automation/Errors.h"
#include "velsqllib/WireLimits.h"
#include "velsqllib/WireText.h"

#include <limits>

namespace {

void Check(kj::ArrayPtr<const capnp::word> words)
{
    capnp::FlatArrayMessageReader message(words, WireReaderOptions(words.size()));
    KJ_REQUIRE(LeadsToItsDataOnce(message));
    const auto page = message.getRoot<wire::ResultPage>();
    const qint64 last = std::numeric_limits<qint64>::max() - page.getCells().size();
    if (page.getFirstRow() < 0 || page.getFirstRow() > last)
        throw ServerError(QStringLiteral("The server sent a page of rows that cannot be."));
}

kj::Array<capnp::word> CheckedWords(capnp::Data::Reader bytes)
{
    auto words = kj::heapArray<capnp::word>(bytes.size() / sizeof(capnp::word));
    if (words.size() > 0) memcpy(words.begin(), bytes.begin(), words.size() * sizeof(capnp::word));
    try {
        Check(words);
    } catch (const kj::Exception&) {
        throw ServerError(QStringLiteral("The server sent a page that cannot be read."));
    }
    return words;
}

/// A page is read many times while the operator scrolls over it, so the read limit is lifted.
capnp::ReaderOptions PageOptions()
{
    capnp::ReaderOptions options = WireReaderOptions();
    options.traversalLimitInWords = kj::maxValue;
    return options;
}

} // namespace

WirePage::WirePage(capnp::Data::Reader bytes)
    : m_Words(CheckedWords(bytes))
    , m_Message(m_Words, PageOptions())
    , m_Page(m_Message.getRoot<wire::ResultPage>())
    , m_Cells(m_Page.getCells())
    , m_ColumnCount(m_Page.getColumnCount())
    , m_RowCount(m_ColumnCount > 0 ? static_cast<qint32>(m_Cells.size()) / m_ColumnCount : 0)
{
    if (m_RowCount < 1) throw ServerError(QStringLiteral("The server sent a page without rows."));
}

Variant WirePage::Cell(qint32 row, qint32 column) const
{
    if (row < 0 || row >= m_RowCount || column < 0 || column >= m_ColumnCount) throw ValueError::SubscriptOutOfRange();
    NoObjects noObjects;
    const auto index = static_cast<uint>(row) * static_cast<uint>(m_ColumnCount) + static_cast<uint>(column);
    try {
        return ReadValue(m_Cells[index], noObjects);
    } catch (const kj::Exception& failure) {
        throw ServerError(DescriptionOf(failure));
    }
}

qsizetype WirePage::Bytes() const
{
    return static_cast<qsizetype>(m_Words.size() * sizeof(capnp::word));
}
