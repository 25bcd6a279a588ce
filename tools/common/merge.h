// Sorted texts become one.
#pragma once

#include <algorithm>
#include <vector>

namespace qbgl {

// Calls visit(text) with every line of the texts in order. Text::next() goes to a text's next line, and is false behind the last
// one; compare(text, text) tells how their lines stand, as strcmp does. Of equal lines, those of the earlier text come first.
template <class Text, class Compare, class Visit> void merge_sorted(std::vector<Text> &texts, Compare compare, Visit visit) {
    std::vector<Text *> heap;
    const auto later = [&](const Text *a, const Text *b) {
        const int result = compare(*a, *b);
        return result != 0 ? result > 0 : a > b;
    };
    for (Text &text : texts)
        if (text.next()) heap.push_back(&text);
    std::make_heap(heap.begin(), heap.end(), later);
    while (!heap.empty()) {
        std::pop_heap(heap.begin(), heap.end(), later);
        visit(*heap.back());
        if (heap.back()->next())
            std::push_heap(heap.begin(), heap.end(), later);
        else
            heap.pop_back();
    }
}

} // namespace qbgl
