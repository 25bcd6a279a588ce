// The order of collation while it is being made: sections of nodes, from which reordering takes some and puts them elsewhere.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

namespace qbgl::compiler {

class CollationList {
  public:
    static constexpr uint32_t NONE = ~uint32_t(0);

    // A node is in no section at first.
    uint32_t add_node() {
        links_.emplace_back();
        return static_cast<uint32_t>(links_.size() - 1);
    }
    // A section is empty, and stands behind all others.
    uint32_t add_section() {
        sections_.emplace_back();
        in_order_.push_back(static_cast<uint32_t>(sections_.size() - 1));
        return in_order_.back();
    }

    bool contains(uint32_t node) const { return links_[node].section != NONE; }
    // The section that the node was put into first: reordering moves it, and leaves it that section's rules.
    uint32_t home(uint32_t node) const { return links_[node].home; }

    void append(uint32_t node, uint32_t section) { insert(node, section, sections_[section].last); }
    // Moves the node if it is in the order.
    void put_behind(uint32_t node, uint32_t place) {
        if (node == place) return;
        remove(node);
        insert(node, links_[place].section, place);
    }
    void move_section(uint32_t section, uint32_t place) {
        if (section == place) return;
        std::erase(in_order_, section);
        const auto at = std::find(in_order_.begin(), in_order_.end(), place);
        in_order_.insert(at + 1, section);
    }

    template <class Function> void for_each(Function function) const {
        for (const uint32_t section : in_order_)
            for (uint32_t node = sections_[section].first; node != NONE; node = links_[node].next) function(node);
    }
    size_t node_count() const { return links_.size(); }

  private:
    struct Link {
        uint32_t previous = NONE, next = NONE, section = NONE, home = NONE;
    };
    struct Section {
        uint32_t first = NONE, last = NONE;
    };

    // Behind `previous`, which is NONE for the first.
    void insert(uint32_t node, uint32_t section, uint32_t previous) {
        Section &list = sections_[section];
        const uint32_t next = previous == NONE ? list.first : links_[previous].next;
        Link &link = links_[node];
        link = {previous, next, section, link.home == NONE ? section : link.home};
        (previous == NONE ? list.first : links_[previous].next) = node;
        (next == NONE ? list.last : links_[next].previous) = node;
    }
    void remove(uint32_t node) {
        Link &link = links_[node];
        if (link.section == NONE) return;
        Section &list = sections_[link.section];
        (link.previous == NONE ? list.first : links_[link.previous].next) = link.next;
        (link.next == NONE ? list.last : links_[link.next].previous) = link.previous;
        link.section = NONE;
    }

    std::vector<Link> links_;
    std::vector<Section> sections_;
    std::vector<uint32_t> in_order_;
};

} // namespace qbgl::compiler
