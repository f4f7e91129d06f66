#include "frame/EngineChanges.h"

#include <utility>

namespace keldra {

namespace {

constexpr std::uint64_t Tagged(std::uint64_t previous, std::uint32_t node)
{
    return (((previous >> 32) + 1) << 32) | node;
}

} // namespace

CEngineChanges::CEngineChanges() : nodes_(std::make_unique<Node[]>(kCapacity))
{
    for (std::uint32_t node = kCapacity; node-- > 0;)
        Free(node);
}

CEngineChanges::~CEngineChanges()
{
    for (std::uint32_t node = TakeAllOldestFirst(); node != kNone;
         node = nodes_[node].next.load(std::memory_order_relaxed))
        delete nodes_[node].change.program;
    CollectRetired();
}

bool CEngineChanges::Push(const EngineChange& change)
{
    std::uint64_t head = free_.load(std::memory_order_acquire);
    std::uint32_t node;
    do {
        node = static_cast<std::uint32_t>(head);
        if (node == kNone)
            return false;
        // Another thread may take the node meanwhile: `next` is then stale, and the tag differs.
    } while (!free_.compare_exchange_weak(
        head, Tagged(head, nodes_[node].next.load(std::memory_order_relaxed)),
        std::memory_order_acquire));

    nodes_[node].change = change;
    std::uint32_t newest = pending_.load(std::memory_order_relaxed);
    do
        nodes_[node].next.store(newest, std::memory_order_relaxed);
    while (!pending_.compare_exchange_weak(newest, node, std::memory_order_acq_rel));
    return true;
}

std::uint32_t CEngineChanges::TakeAllOldestFirst()
{
    std::uint32_t newest = pending_.exchange(kNone, std::memory_order_acq_rel);
    std::uint32_t oldest = kNone;
    while (newest != kNone)
        newest =
            nodes_[newest].next.exchange(std::exchange(oldest, newest), std::memory_order_relaxed);
    return oldest;
}

std::uint32_t CEngineChanges::LastWholeProgram(std::uint32_t node) const
{
    std::uint32_t last = kNone;
    for (; node != kNone; node = nodes_[node].next.load(std::memory_order_relaxed))
        if (const ProgramValues* program = nodes_[node].change.program;
            program != nullptr && program->IsWhole())
            last = node;
    return last;
}

void CEngineChanges::Free(std::uint32_t node)
{
    std::uint64_t head = free_.load(std::memory_order_relaxed);
    do
        nodes_[node].next.store(static_cast<std::uint32_t>(head), std::memory_order_relaxed);
    while (!free_.compare_exchange_weak(head, Tagged(head, node), std::memory_order_acq_rel));
}

void CEngineChanges::Retire(std::uint32_t node)
{
    std::uint32_t head = retired_.load(std::memory_order_relaxed);
    do
        nodes_[node].next.store(head, std::memory_order_relaxed);
    while (!retired_.compare_exchange_weak(head, node, std::memory_order_acq_rel));
}

void CEngineChanges::CollectRetired()
{
    std::uint32_t node = retired_.exchange(kNone, std::memory_order_acq_rel);
    while (node != kNone) {
        const std::uint32_t next = nodes_[node].next.load(std::memory_order_relaxed);
        delete std::exchange(nodes_[node].change.program, nullptr);
        Free(node);
        node = next;
    }
}

} // namespace keldra
