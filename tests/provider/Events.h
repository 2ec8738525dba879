#pragma once

#include <functional>
#include <string>

/// What can be seen of the provider from outside, in the one order in which it happened: its log
/// lines, its calls to the broker and to the core, and what it writes to its two standard streams.
namespace events {

/// Runs `action` and gives what was seen meanwhile, a line each: "log 3: ...", "broker: ...",
/// "core: ...", "out: ...", "err: ...". A line feed inside a text shows as "\n". Output to a stream
/// without a line end shows as "out~ ..." or "err~ ...". Not nested.
std::string during(const std::function<void()>& action);

/// Adds a line; lost unless `during` is running. Any thread may add.
void add(const std::string& line);

/// Has `watcher` called with every line that is added from now on, on the thread that adds it; an
/// empty one ends that. It may add lines itself.
void onEach(std::function<void(const std::string&)> watcher);

/// printf into a string.
std::string format(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// The lines of `text` that begin with `kind`, such as "broker: ".
std::string only(const std::string& kind, const std::string& text);

/// How many lines of `text` contain `part`.
std::size_t count(const std::string& text, const std::string& part);

}  // namespace events
