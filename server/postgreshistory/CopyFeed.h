#pragma once

#include "server/postgreshistory/CopyStream.h"
#include "server/postgreshistory/LocalTime.h"
#include "server/postgreshistory/RowFeed.h"

/// Rows as COPY takes them, on their way while they are added.
class CopyFeed : public RowFeed
{
public:
    void Begin(const QString& table) override;
    void End() override;
    void Abandon() override { m_Stream.Abandon(); }

protected:
    CopyFeed(const DatabaseSession& session, QString statement);

    CopyStream& Stream() { return m_Stream; }

private:
    virtual void WriteBegin() {}
    virtual void WriteEnd() {}

    CopyStream m_Stream;
    const QString m_Statement;
};

/// As texts, which the database converts into whatever types the columns have.
class TextCopyFeed final : public CopyFeed
{
public:
    TextCopyFeed(const DatabaseSession& session, bool isOwn);

    Way How() const override { return Way::Copy; }
    void Add(const PostgresRow& row) override;

private:
    const bool m_IsOwn;
    LocalTime m_Clock;
};

/// As the database keeps them itself, which costs both sides least.
class BinaryCopyFeed final : public CopyFeed
{
public:
    explicit BinaryCopyFeed(const DatabaseSession& session);

    Way How() const override { return Way::BinaryCopy; }
    void Add(const PostgresRow& row) override;

private:
    void WriteBegin() override;
    void WriteEnd() override;
};
