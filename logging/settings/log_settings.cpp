#include "logging/settings/log_settings.h"

#include "logging/settings/process_heap.h"

LogHandlerList LogHandlerList::create()
{
    auto* const node = process_heap::create<LogHandlerNode>({});
    node->next = node->previous = node;
    return {node, 0};
}

void LogHandlerList::append(ILogHandler* handler)
{
    auto* const node = process_heap::create<LogHandlerNode>({sentinel, sentinel->previous, handler});
    sentinel->previous = node->previous->next = node;
    ++count;
}

void LogHandlerList::remove(const ILogHandler* handler) noexcept
{
    for (LogHandlerNode* node = sentinel->next; node != sentinel;) {
        LogHandlerNode* const next = node->next;
        if (node->handler == handler) {
            node->previous->next = next;
            next->previous = node->previous;
            process_heap::destroy(node);
            --count;
        }
        node = next;
    }
}
