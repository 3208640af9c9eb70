// Draws polygons without the help of any graphics: shades of grey, and 0 where there are none.

// How the page lights a mesh without materials: from all sides, and from above the right shoulder.
const kGrey = [0xb9, 0xbe, 0xc8];
const kAround = 1;
const kDirect = 2;
const kLight = [0.5, 0.6, 1];

const minus = (a, b) => a.map((value, axis) => value - b[axis]);
const dot = (a, b) => a.reduce((sum, value, axis) => sum + value * b[axis], 0);
const cross = (a, b) => [0, 1, 2].map((i) =>
  a[(i + 1) % 3] * b[(i + 2) % 3] - a[(i + 2) % 3] * b[(i + 1) % 3]);
const unit = (a) => a.map((value) => value / (Math.hypot(...a) || 1));
/** A matrix, by columns, times a point (w = 1) or a direction (w = 0). */
const times = (matrix, [x, y, z], w) => [0, 1, 2, 3].map((row) =>
  matrix[row] * x + matrix[row + 4] * y + matrix[row + 8] * z + matrix[row + 12] * w);

const linear = (value) => (value <= 0.04045 ? value / 12.92 : ((value + 0.055) / 1.055) ** 2.4);
const encoded = (value) => (value <= 0.0031308 ? value * 12.92 : 1.055 * value ** (1 / 2.4) - 0.055);

/** What a surface with this normal, in the space of the camera, looks like: 0 to 255. */
function shadeOf(normal) {
  const light = kAround + kDirect * Math.max(dot(unit(normal), unit(kLight)), 0);
  const parts = kGrey.map((part) => 255 * encoded(linear(part / 255) * light / Math.PI));
  return parts.reduce((sum, part) => sum + Math.min(part, 255), 0) / 3;
}

/** The polygons as triangles of { point, normal }; corners at one place at rest share a normal. */
function trianglesOf(polygons) {
  const normals = new Map();
  const triangles = polygons.flatMap((polygon) => {
    const corners = polygon.map(({ place, values }) =>
      ({ point: values, key: place.map((value) => Math.round(value * 1000)).join() }));
    return corners.slice(2).map((corner, i) => [corners[0], corners[i + 1], corner]);
  });
  for (const triangle of triangles) {
    const [a, b, c] = triangle.map(({ point }) => point);
    const face = cross(minus(b, a), minus(c, a));
    for (const { key } of triangle) {
      normals.set(key, face.map((value, axis) => value + (normals.get(key)?.[axis] ?? 0)));
    }
  }
  return triangles.map((triangle) => triangle.map(({ point, key }) =>
    ({ point, normal: unit(normals.get(key)) })));
}

/** A picture of polygons as `camera` sees them: a shade for each pixel, rows from above. */
export function drawn(polygons, { view, projection }, width, height) {
  const picture = { width, height, shades: new Float32Array(width * height),
    depths: new Float32Array(width * height).fill(Infinity) };
  for (const triangle of trianglesOf(polygons)) {
    fill(picture, triangle.map(({ point, normal }) => {
      const [x, y, z, w] = times(projection, times(view, point, 1), 1);
      return { x: (x / w + 1) / 2 * width, y: (1 - y / w) / 2 * height, depth: z / w, w,
        normal: times(view, normal, 0).slice(0, 3) };
    }));
  }
  return picture.shades;
}

/** The whole numbers from the least of some values to the largest, within 0 and `end`. */
function span(values, end) {
  const [low, high] = [Math.max(0, Math.floor(Math.min(...values))),
    Math.min(end, Math.ceil(Math.max(...values)))];
  return Array.from({ length: Math.max(0, high - low) }, (_, i) => low + i);
}

function fill({ width, height, shades, depths }, [a, b, c]) {
  const side = (p, q, x, y) => (q.x - p.x) * (y - p.y) - (q.y - p.y) * (x - p.x);
  const area = side(a, b, c.x, c.y);
  if (area >= 0) return;  // seen from behind, as y goes down here
  for (const row of span([a.y, b.y, c.y], height)) {
    for (const column of span([a.x, b.x, c.x], width)) {
      const [x, y] = [column + 0.5, row + 0.5];
      const parts = [side(b, c, x, y), side(c, a, x, y), side(a, b, x, y)].map((s) => s / area);
      const depth = dot(parts, [a.depth, b.depth, c.depth]);
      const at = row * width + column;
      if (Math.min(...parts) < 0 || depth >= depths[at]) continue;
      depths[at] = depth;
      const shares = parts.map((part, i) => part / [a, b, c][i].w);
      shades[at] = shadeOf([0, 1, 2].map((axis) =>
        dot(shares, [a, b, c].map(({ normal }) => normal[axis]))));
    }
  }
}

/** Marks of pixels of which some neighbours, or all, or they themselves are marked. */
function around(marks, width, which) {
  const steps = [-width - 1, -width, -width + 1, -1, 0, 1, width - 1, width, width + 1];
  return marks.map((_, i) => Number(steps[which]((by) => marks[i + by])));
}

/**
 * How two pictures differ: `shape`, the part of what either covers that is more than a pixel away
 * from what the other covers, and `shade`, the mean difference, of 255, inside of what both cover.
 */
export function differenceOf(first, second, width) {
  const [a, b] = [first, second].map((picture) =>
    Uint8Array.from(picture, (shade) => Number(shade > 0)));
  const [wideA, wideB] = [a, b].map((marks) => around(marks, width, 'some'));
  const inside = around(a.map((mark, i) => mark & b[i]), width, 'every');
  let [either, apart, within, off] = [0, 0, 0, 0];
  a.forEach((_, i) => {
    either += a[i] | b[i];
    apart += (a[i] & ~wideB[i]) | (b[i] & ~wideA[i]);
    within += inside[i];
    off += inside[i] * Math.abs(first[i] - second[i]);
  });
  return { shape: apart / either, shade: off / Math.max(within, 1), covered: either / a.length };
}
