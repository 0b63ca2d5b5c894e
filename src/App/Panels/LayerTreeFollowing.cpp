#include "App/Panels/LayerTreeRow.h"

#include <algorithm>
#include <ranges>
#include <unordered_set>

namespace ombrel {

namespace {

bool isSameObject(const LayerNode& a, const LayerNode& b) {
    if (a.value.index() != b.value.index()) return false;
    if (const auto* layer = std::get_if<CowPtr<PixelLayer>>(&a.value))
        return layer->isSameObject(std::get<CowPtr<PixelLayer>>(b.value));
    return std::get<CowPtr<GroupLayer>>(a.value).isSameObject(
        std::get<CowPtr<GroupLayer>>(b.value));
}

bool looksAlike(const LayerNode& a, const LayerNode& b) {
    const LayerProperties& before = a.properties();
    const LayerProperties& after = b.properties();
    const auto maskLook = [](const LayerNode& node) {
        return node.mask() ? std::optional(std::pair(node.mask()->isEnabled, node.mask()->isLinked))
                           : std::nullopt;
    };
    return before.name == after.name && before.isVisible == after.isVisible &&
           before.locks == after.locks && before.opacity == after.opacity &&
           before.blendMode == after.blendMode && before.clipsToBelow == after.clipsToBelow &&
           maskLook(a) == maskLook(b) && a.value.index() == b.value.index();
}

bool havePicturesAlike(const LayerNode& a, const LayerNode& b) {
    if (a.mask() != b.mask()) return false;
    const PixelLayer* before = a.pixelLayer();
    const PixelLayer* after = b.pixelLayer();
    if (before == nullptr || after == nullptr) return before == after;
    return before->offset == after->offset && before->pixels == after->pixels;
}

/// The places in `numbers` of a longest run that rises, negative numbers left out.
std::vector<std::size_t> longestRise(const std::vector<int>& numbers) {
    std::vector<std::size_t> ends; // of the runs of each length, the one that ends lowest
    std::vector<std::ptrdiff_t> before(numbers.size(), -1);
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        if (numbers[i] < 0) continue;
        const auto longer = std::ranges::lower_bound(
            ends, numbers[i], {}, [&](std::size_t place) { return numbers[place]; });
        if (longer != ends.begin()) before[i] = static_cast<std::ptrdiff_t>(*(longer - 1));
        if (longer == ends.end()) {
            ends.push_back(i);
        } else {
            *longer = i;
        }
    }
    std::vector<std::size_t> run;
    std::ptrdiff_t place = ends.empty() ? -1 : static_cast<std::ptrdiff_t>(ends.back());
    for (; place >= 0; place = before[static_cast<std::size_t>(place)])
        run.push_back(static_cast<std::size_t>(place));
    return run;
}

} // namespace

void LayerTreeModel::Following::run(const GroupLayer& root) {
    syncChildren(*model_.root_, root.children);
    removeLeft();
}

void LayerTreeModel::Following::syncChildren(Row& row, const std::vector<LayerNode>& children) {
    const auto isRowOf = [](const std::unique_ptr<Row>& child, const LayerNode& node) {
        return child->id == node.id();
    };
    if (!std::ranges::equal(row.children, children | std::views::reverse, isRowOf))
        arrange(row, children);
    // One word for all rows that look different: a view looks for each row it is told of.
    const Row* lowest = nullptr;
    const Row* highest = nullptr;
    for (const LayerNode& child : children) {
        Row& present = *model_.find(child.id());
        if (!update(present, child)) continue;
        if (lowest == nullptr) lowest = &present;
        highest = &present;
    }
    if (highest == nullptr) return;
    Q_EMIT model_.dataChanged(model_.indexOf(*highest, visibilityColumn),
                              model_.indexOf(*lowest, layerColumn));
}

void LayerTreeModel::Following::arrange(Row& row, const std::vector<LayerNode>& children) {
    markLeaving(row, children);
    const std::vector<const Row*> staying = stayingRows(row, children);
    auto stays = staying.begin();
    int place = 0;
    for (auto wanted = children.rbegin(); wanted != children.rend();) {
        if (Row* present = model_.find(wanted->id())) {
            if (stays != staying.end() && *stays == present) {
                place = model_.placeOf(*present) + 1;
                ++stays;
            } else {
                place = moveTo(row, place, *present);
            }
            ++wanted;
            continue;
        }
        const auto end = std::find_if(wanted, children.rend(), [&](const LayerNode& node) {
            return model_.find(node.id()) != nullptr;
        });
        const auto count = static_cast<int>(end - wanted);
        model_.beginInsertRows(model_.indexOf(row, visibilityColumn), place, place + count - 1);
        for (; wanted != end; ++wanted, ++place) {
            auto made = std::make_unique<Row>(Row{.id = wanted->id(), .node = &*wanted});
            made->parent = &row;
            model_.rowsByID_[made->id.rawValue] = made.get();
            row.children.insert(row.children.begin() + place, std::move(made));
        }
        model_.endInsertRows();
    }
}

void LayerTreeModel::Following::markLeaving(Row& row, const std::vector<LayerNode>& children) {
    std::unordered_set<Uuid> wanted;
    for (const LayerNode& child : children)
        wanted.insert(child.id().rawValue);
    for (const std::unique_ptr<Row>& child : row.children) {
        if (wanted.contains(child->id.rawValue)) continue;
        child->isLeaving = true;
        leaving_.push_back(child.get());
    }
}

// In their new order; the others move around them.
std::vector<const LayerTreeModel::Row*>
LayerTreeModel::Following::stayingRows(const Row& row,
                                       const std::vector<LayerNode>& children) const {
    std::unordered_map<const Row*, int> places;
    for (std::size_t i = 0; i < row.children.size(); ++i)
        places[row.children[i].get()] = static_cast<int>(i);
    std::vector<const Row*> wanted;
    std::vector<int> numbers;
    for (const LayerNode& child : children | std::views::reverse) {
        const Row* present = model_.find(child.id());
        const auto place = places.find(present);
        wanted.push_back(present);
        numbers.push_back(place == places.end() ? -1 : place->second);
    }
    std::vector<const Row*> staying;
    for (const std::size_t i : longestRise(numbers) | std::views::reverse)
        staying.push_back(wanted[i]);
    return staying;
}

int LayerTreeModel::Following::moveTo(Row& parent, int place, Row& moved) {
    moved.isLeaving = false;
    Row& from = *moved.parent;
    const int before = model_.placeOf(moved);
    const bool isWithin = &from == &parent;
    if (isWithin && (before == place || before + 1 == place)) return std::max(place, before + 1);
    const bool canMove =
        model_.beginMoveRows(model_.indexOf(from, visibilityColumn), before, before,
                             model_.indexOf(parent, visibilityColumn), place);
    OMBREL_CHECK(canMove, "groups around a row are in place before it moves");
    std::unique_ptr<Row> row = std::move(from.children[static_cast<std::size_t>(before)]);
    from.children.erase(from.children.begin() + before);
    const int target = isWithin && before < place ? place - 1 : place;
    parent.children.insert(parent.children.begin() + target, std::move(row));
    moved.parent = &parent;
    model_.endMoveRows();
    return target + 1;
}

bool LayerTreeModel::Following::update(Row& row, const LayerNode& now) {
    const LayerNode& before = *row.node;
    row.node = &now;
    const bool isNew = &before == &now;
    if (!isNew && isSameObject(before, now)) return false;
    static const std::vector<LayerNode> none;
    const GroupLayer* group = now.group();
    syncChildren(row, group != nullptr ? group->children : none);
    if (isNew) return false;
    const bool arePicturesAlike = havePicturesAlike(before, now);
    if (!arePicturesAlike && model_.onPictureChange) model_.onPictureChange(row.id);
    return !arePicturesAlike || !looksAlike(before, now);
}

void LayerTreeModel::Following::removeLeft() {
    for (const Row* row : leaving_) {
        if (!row->isLeaving) continue;
        Row& parent = *row->parent;
        const int place = model_.placeOf(*row);
        model_.beginRemoveRows(model_.indexOf(parent, visibilityColumn), place, place);
        forget(*row);
        const std::unique_ptr<Row> gone =
            std::move(parent.children[static_cast<std::size_t>(place)]);
        parent.children.erase(parent.children.begin() + place);
        model_.endRemoveRows();
    }
}

void LayerTreeModel::Following::forget(const Row& row) {
    for (const std::unique_ptr<Row>& child : row.children)
        forget(*child);
    model_.rowsByID_.erase(row.id.rawValue);
    if (model_.onRemoval) model_.onRemoval(row.id);
}

} // namespace ombrel
