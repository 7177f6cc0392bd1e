// The link counters of all programs on this computer: each that opens a board keeps its own in a page of
// memory that is also a file of the run folder (util/run_folder.h), "counters-<process>". So counting costs
// the same whether somebody looks or not, and who looks asks nobody.
//
// Only the file's owner may write to it: who could make it shorter could stop the program that counts. It is
// locked (fcntl, by its open file) for as long as its process lives; a page without a lock is one that a
// killed process left behind, which nobody believes and the next program of its user removes. A reader takes
// no lock and maps nothing: whatever becomes of the file, it has read so many bytes or not.
#pragma once

#include "util/LinkCounters.h"

#include <array>
#include <string>
#include <vector>

namespace util {

// Shows the counters of this process to others until it ends. Where no file can be had they stay its own; a
// later call tries again. Any thread; again does nothing.
void publishLinkCounters();

struct LinkPage {
    int pid = 0;
    std::string program; // printable ASCII
    std::array<LinkFigures, kLinks> links;

    const LinkFigures& link(int board, int port) const {
        return links[static_cast<std::size_t>(board * kLinkPorts + port)];
    }
};

// Those of all programs that are seen, this one included if it has published its own. Any thread.
std::vector<LinkPage> readLinkPages();

// The same of this process, published or not.
LinkPage ownLinkPage();

} // namespace util
