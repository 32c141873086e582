#include "server/rpc/ClientLedger.h"

#include <algorithm>
#include <malloc.h>

namespace {

/// Giving back less than this is not worth the time.
constexpr qint64 WorthTrimming = 16 * 1024 * 1024;

} // namespace

ClientAccount::ClientAccount(std::shared_ptr<ClientLedger> ledger, std::function<void()> dismiss)
    : m_Ledger(std::move(ledger))
    , m_Dismiss(std::move(dismiss))
{
    m_Ledger->m_Accounts.push_back(this);
}

ClientAccount::~ClientAccount()
{
    Close();
}

void ClientAccount::Close()
{
    if (std::erase(m_Ledger->m_Accounts, this) > 0) m_Ledger->m_Dismissing = false; // less is kept now
}

void ClientAccount::Add(qint64 bytes)
{
    m_Bytes += bytes;
    m_Ledger->Add(bytes);
}

ClientCharge::ClientCharge(ClientAccountRef account, qint64 bytes)
    : m_Account(std::move(account))
{
    Set(bytes);
}

ClientCharge::ClientCharge(ClientCharge&& other) noexcept
    : m_Account(std::move(other.m_Account))
    , m_Bytes(std::exchange(other.m_Bytes, 0))
{
}

ClientCharge& ClientCharge::operator=(ClientCharge&& other) noexcept
{
    std::swap(m_Account, other.m_Account);
    std::swap(m_Bytes, other.m_Bytes);
    return *this;
}

void ClientCharge::Set(qint64 bytes)
{
    if (bytes == m_Bytes) return;
    m_Account->Add(bytes - std::exchange(m_Bytes, bytes));
}

ClientLedger::ClientLedger(kj::Timer& timer)
    : m_Timer(timer)
{
}

void ClientLedger::Close()
{
    m_TrimDue = true;
    m_Trim = kj::READY_NOW;
}

void ClientLedger::Add(qint64 bytes)
{
    m_Bytes += bytes;
    m_Peak = std::max(m_Peak, m_Bytes);
    if (m_Bytes > MostOfAll && !m_Dismissing) DismissLargest();
    if (m_Peak - m_Bytes >= WorthTrimming) TrimSoon();
}

void ClientLedger::DismissLargest()
{
    const auto largest = std::ranges::max_element(m_Accounts, {}, &ClientAccount::Bytes);
    if (largest == m_Accounts.end()) return;
    m_Dismissing = true;
    (*largest)->m_Dismiss();
}

void ClientLedger::TrimSoon()
{
    if (std::exchange(m_TrimDue, true)) return;
    m_Trim = m_Timer.afterDelay(200 * kj::MILLISECONDS)
                 .then([this] {
                     malloc_trim(0);
                     m_Peak = m_Bytes;
                     m_TrimDue = false;
                 })
                 .eagerlyEvaluate(nullptr);
}
