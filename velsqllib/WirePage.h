#pragma once

#include "core/automation/ResultSet.h"
#include "velsqllib/WireValue.h"

#include <capnp/serialize.h>

/// A page of a result as it came over the wire; cells are decoded on demand.
class WirePage : public ResultPage
{
public:
    /// Copies the bytes. Throws ServerError when they are not a page.
    explicit WirePage(capnp::Data::Reader bytes);
    ~WirePage() noexcept override = default;

    qint64 FirstRow() const override { return m_Page.getFirstRow(); }
    qint32 RowCount() const override { return m_RowCount; }
    Variant Cell(qint32 row, qint32 column) const override;
    qsizetype Bytes() const override;

private:
    kj::Array<capnp::word> m_Words;
    capnp::FlatArrayMessageReader m_Message;
    wire::ResultPage::Reader m_Page;
    capnp::List<wire::Value>::Reader m_Cells;
    qint32 m_ColumnCount;
    qint32 m_RowCount;
};
