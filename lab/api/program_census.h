// What a program leaves as its own account of itself.
#pragma once

namespace Lab {

/// Writes run/census-PID.json below the machine's folder, if the description asks for one: an
/// object with
///
///   handles   types of the open handles, in the order of their making
///   objects   how many COM objects are alive
///   sockets   calls of WSAStartup that nothing has undone
///   failures  how many calls have failed by plan
///   calls     with kCalls: a list of objects with function, site and calls
///
/// A census that can't be written is none; whoever wants it finds no file.
void WriteCensus();

}  // namespace Lab
