#pragma once

#include <QString>
#include <QtGlobal>

#include <kj/async.h>
#include <kj/timer.h>

#include <functional>
#include <memory>
#include <vector>

class ClientLedger;

/// How much one client makes the server keep: messages that arrive, calls under way, answers that it has not read or
/// not finished with. The account outlives its connection for as long as anything is kept.
class ClientAccount
{
public:
    ClientAccount(std::shared_ptr<ClientLedger> ledger, std::function<void()> dismiss);
    ~ClientAccount();
    ClientAccount(const ClientAccount&) = delete;
    ClientAccount& operator=(const ClientAccount&) = delete;

    qint64 Bytes() const { return m_Bytes; }
    /// The connection has gone, so the client can no longer be dismissed.
    void Close();

private:
    friend class ClientCharge;
    friend class ClientLedger;

    void Add(qint64 bytes);

    std::shared_ptr<ClientLedger> m_Ledger;
    std::function<void()> m_Dismiss;
    qint64 m_Bytes = 0;
};

using ClientAccountRef = std::shared_ptr<ClientAccount>;

/// Some bytes on a client's account, for as long as this object exists.
class ClientCharge
{
public:
    ClientCharge() = default;
    ClientCharge(ClientAccountRef account, qint64 bytes);
    ClientCharge(ClientCharge&& other) noexcept;
    ClientCharge& operator=(ClientCharge&& other) noexcept;
    ~ClientCharge() { Set(0); }

    void Set(qint64 bytes);

private:
    ClientAccountRef m_Account;
    qint64 m_Bytes = 0;
};

/// The accounts of all clients. When all together would keep more than MostOfAll, the one that keeps most is dismissed;
/// freed memory is returned to the system.
class ClientLedger
{
public:
    static constexpr qint64 MostOfAll = 1024 * 1024 * 1024;

    explicit ClientLedger(kj::Timer& timer);

    /// Returns free memory to the system soon.
    void TrimSoon();
    /// The event loop is ending: from now on only counts.
    void Close();

private:
    friend class ClientAccount;

    void Add(qint64 bytes);
    void DismissLargest();

    kj::Timer& m_Timer;
    std::vector<ClientAccount*> m_Accounts;
    qint64 m_Bytes = 0;
    /// Since memory was last returned to the system.
    qint64 m_Peak = 0;
    bool m_Dismissing = false;
    bool m_TrimDue = false;
    kj::Promise<void> m_Trim = kj::READY_NOW;
};
