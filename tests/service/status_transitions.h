// The status machines of a session as one table, and the sessions that drive each row of it.
#pragma once

#include <map>
#include <ostream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Halvard::MigratorSvc {

/// An event that finds a machine in a state takes it to the next one, which may be the same.
struct Transition {
  std::string_view machine;
  std::string_view state;
  std::string_view event;
  std::string_view next;
};

/// All that may happen. An event without a row for a machine's state leaves that machine as it is.
std::span<const Transition> StatusTransitions();

/// \return The row of an event that finds the machine in the state; null when there is none.
const Transition* FindTransition(std::string_view machine, std::string_view state,
                                 std::string_view event);

/// The state of each machine by its name.
using StatusStates = std::map<std::string_view, std::string>;

/// What a session begins with, before its start-up has run the prechecks.
StatusStates FirstStates();

/// What happens in one session, in this order.
struct StatusSession {
  std::string title;
  std::wstring type;  ///< Of the migration.
  std::vector<std::string_view> events;

  friend void PrintTo(const StatusSession& session, std::ostream* stream) {
    *stream << session.title;
  }
};

/// Together they drive every row of the table.
std::vector<StatusSession> StatusSessions();

}  // namespace Halvard::MigratorSvc
