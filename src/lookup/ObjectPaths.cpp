// Paths for all objects of a scene: name paths, else selector paths counted in search order.

#include "ObjectPaths.h"

#include "SceneTree.h"
#include "SearchOrder.h"
#include "Selector.h"

#include <QObject>
#include <QSet>
#include <QVector>

#include <algorithm>

namespace ObjectPaths {

namespace {

// The selector search counts, for each segment, the matches met below the object that consumed
// the segment before it. A frame is such an object (one with a name path, or the root when it
// has none) with the matches per type met below it so far.
struct Frame {
    QString prefix; // "panel." or empty at the root
    QHash<QString, int> counts;
    QSet<QObject *> seen;   // counted, in either walk
    QSet<QObject *> walked; // walked below in the current walk
    bool shownWalk = true;  // the walk `walked` belongs to
};

class Counter {
public:
    Counter(QObject *root) : m_paths(SceneTree::FindingPaths(root))
    {
        // A name path with a segment that reads as a selector ("{odd}") finds something else.
        for (auto it = m_paths.begin(); it != m_paths.end();) {
            Selector::Path segments;
            if (!Selector::Parse(it.value(), segments) || Selector::HasSelector(segments))
                it = m_paths.erase(it);
            else
                ++it;
        }
        // Selectors count shown objects before hidden ones (Selector::Shown): two walks.
        for (const bool shown : {true, false}) {
            m_shownPass = shown;
            Restart(m_rootFrame);
            m_frames.append(m_rootFrame); // the root itself is the first candidate of a root selector
            Visit(root);
            m_rootFrame = m_frames.takeLast();
        }
    }
    QHash<QObject *, QString> Take() { return std::move(m_paths); }

private:
    // A frame entered in a new walk has walked nothing of it yet.
    void Restart(Frame &frame) const
    {
        if (frame.shownWalk != m_shownPass) {
            frame.walked.clear();
            frame.shownWalk = m_shownPass;
        }
    }

    void Visit(QObject *object)
    {
        // Met again (below a repeater or a view) where every open frame has walked it in this
        // walk: each of them met everything below it too, so the walk below would change nothing.
        bool walked = true;
        for (int f = 0; f < m_frames.size() && walked; ++f)
            walked = m_frames.at(f).walked.contains(object);
        if (walked)
            return;
        for (Frame &frame : m_frames)
            frame.walked.insert(object);
        SearchOrder::CountVisit();
        const bool named = m_paths.contains(object) && !m_selected.contains(object);
        const QStringList chain = Selector::TypeChain(object);
        const bool counted = Selector::Shown(object) == m_shownPass;
        for (int f = 0; counted && f < m_frames.size(); ++f) {
            Frame &frame = m_frames[f];
            if (frame.seen.contains(object))
                continue;
            frame.seen.insert(object);
            for (const QString &type : chain) {
                const int index = frame.counts[type]++;
                if (f == m_frames.size() - 1 && type == chain.constFirst() && !m_paths.contains(object)) {
                    Selector::Segment segment;
                    segment.isSelector = true;
                    segment.type = type;
                    segment.index = index;
                    m_paths.insert(object, frame.prefix + Selector::Format(segment));
                    m_selected.insert(object);
                }
            }
        }
        if (named) {
            // A frame's counts go on from the first walk to the second.
            Frame &frame = m_kept[object];
            frame.prefix = m_paths.value(object) + QLatin1Char('.');
            Restart(frame);
            m_frames.append(frame);
        }
        for (QObject *child : SearchOrder::Children(object))
            Visit(child);
        if (named)
            m_kept[object] = m_frames.takeLast();
    }

    QHash<QObject *, QString> m_paths;
    QSet<QObject *> m_selected; // objects whose path is a selector path
    QVector<Frame> m_frames;
    QHash<QObject *, Frame> m_kept; // the frames of named objects between the walks
    Frame m_rootFrame;
    bool m_shownPass = true;
};

} // namespace

int EditDistance(const QString &a, const QString &b)
{
    QVector<int> row(b.size() + 1);
    for (int j = 0; j <= b.size(); ++j)
        row[j] = j;
    for (int i = 1; i <= a.size(); ++i) {
        int diagonal = row[0];
        row[0] = i;
        for (int j = 1; j <= b.size(); ++j) {
            const int above = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (a.at(i - 1) == b.at(j - 1) ? 0 : 1)});
            diagonal = above;
        }
    }
    return row[b.size()];
}

QHash<QObject *, QString> All(QObject *root)
{
    if (!root)
        return {};
    return Counter(root).Take();
}

QString Closest(const QStringList &candidates, const QString &path)
{
    QString best;
    int bestDistance = -1;
    for (const QString &candidate : candidates) {
        const int distance = EditDistance(candidate, path);
        // Ties go to the shorter candidate, then the alphabetically first, so that the same
        // scene always names the same one (candidates may come in hash order).
        const bool better = bestDistance < 0 || distance < bestDistance ||
                            (distance == bestDistance &&
                             (candidate.size() < best.size() || (candidate.size() == best.size() && candidate < best)));
        if (better) {
            best = candidate;
            bestDistance = distance;
        }
    }
    return best;
}

} // namespace ObjectPaths
