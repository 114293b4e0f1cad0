#pragma once

#include <cstddef>
#include <functional>

namespace karta {

/**
 * Does the jobs 0 to before `count` in so many threads, of which the caller's is one; whoever is done takes
 * the next job. While the others aren't done with theirs, `look` is called now and then by the caller: it may
 * raise, too, and then no further job begins. Raises what the first of the jobs that failed raised, when no
 * job is at work any more.
 */
void DoSideBySide(std::size_t count, unsigned int threads, const std::function<void(std::size_t)>& job,
                  const std::function<void()>& look);

}  // namespace karta
