#include "logging/settings/log_settings.h"

#include "logging/settings/process_heap.h"

void LogHandlerList::append(ILogHandler* handler)
{
    auto* const node = process_heap::create<LogHandlerNode>(LogHandlerNode{nullptr, last, handler});
    (last ? last->next : first) = node;
    last = node;
    ++count;
}

void LogHandlerList::remove(const ILogHandler* handler) noexcept
{
    for (LogHandlerNode* node = first; node;) {
        LogHandlerNode* const next = node->next;
        if (node->handler == handler) {
            (node->previous ? node->previous->next : first) = next;
            (next ? next->previous : last) = node->previous;
            process_heap::destroy(node);
            --count;
        }
        node = next;
    }
}
