// Finds the partners of corners or triangles between two lists of any order.
import assert from 'node:assert/strict';

const near = (a, b, limit) => a.every((value, i) => Math.abs(value - b[i]) <= limit);

/**
 * Answers how many of `entries` have no partner in `others`, one with the same place (a point) and
 * the same values (any numbers), each number within `limit`.
 */
function unmatched(entries, others, limit) {
  // Cells much wider than the limit; a place near a border is looked for on its other side too.
  const width = 16 * limit;
  const keys = (place, margin) => {
    const [x, y, z] = place.map((value) =>
      [...new Set([-margin, margin].map((step) => Math.floor((value + step) / width)))]);
    return x.flatMap((i) => y.flatMap((j) => z.map((k) => `${i} ${j} ${k}`)));
  };
  const cells = new Map();
  for (const other of others) {
    const [key] = keys(other.place, 0);
    if (!cells.has(key)) cells.set(key, []);
    cells.get(key).push(other);
  }
  const isPartner = (entry) => (other) =>
    near(entry.place, other.place, limit) && near(entry.values, other.values, limit);
  return entries.filter((entry) =>
    !keys(entry.place, limit).some((key) => cells.get(key)?.some(isPartner(entry)))).length;
}

/** Every entry has a partner in the other list. */
export function assertMatched(found, wanted, limit, what) {
  assert.equal(unmatched(wanted, found, limit), 0, `missing in ${what}`);
  assert.equal(unmatched(found, wanted, limit), 0, `more in ${what}`);
}
