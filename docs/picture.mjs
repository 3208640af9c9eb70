// Draws docs/fox.png from a converted fox as three.js reads it: its textured mesh and its skeleton.
//   node docs/picture.mjs build/fox.fbx docs/fox.png        (after scripts/setup and scripts/demo)
import { readFileSync, writeFileSync } from 'node:fs';
import { crc32, deflateSync, inflateSync } from 'node:zlib';
import { readWithThree } from '../tests/readers/threereader.mjs';

const [width, height, samples] = [880, 300, 3];  // samples: per pixel, in each direction

/** Pixels of a PNG with 8 bits a channel: { width, height, at(x, y) -> [r, g, b] }. */
function decodePng(png) {
  const chunks = [];
  for (let at = 8; at < png.length; at += 12 + png.readUInt32BE(at)) {
    const type = png.toString('latin1', at + 4, at + 8);
    if (type === 'IDAT') chunks.push(png.subarray(at + 8, at + 8 + png.readUInt32BE(at)));
  }
  const [columns, rows] = [png.readUInt32BE(16), png.readUInt32BE(20)];
  const channels = { 2: 3, 6: 4 }[png[25]];
  const stride = columns * channels;
  const raw = inflateSync(Buffer.concat(chunks));
  const pixels = Buffer.alloc(stride * rows);
  for (let y = 0; y < rows; ++y) {
    for (let i = 0; i < stride; ++i) {
      const left = i < channels ? 0 : pixels[y * stride + i - channels];
      const up = y ? pixels[(y - 1) * stride + i] : 0;
      const corner = y && i >= channels ? pixels[(y - 1) * stride + i - channels] : 0;
      const miss = (value) => Math.abs(left + up - corner - value);
      const paeth = [left, up, corner].reduce((best, value) =>
        (miss(value) < miss(best) ? value : best));
      const guess = [0, left, up, (left + up) >> 1, paeth][raw[y * (stride + 1)]];
      pixels[y * stride + i] = raw[y * (stride + 1) + 1 + i] + guess;
    }
  }
  const at = (x, y) => [0, 1, 2].map((channel) => pixels[y * stride + x * channels + channel]);
  return { columns, rows, at };
}

function encodePng(columns, rows, rgb) {
  const chunk = (type, data) => {
    const body = Buffer.concat([Buffer.from(type, 'latin1'), data]);
    const length = Buffer.alloc(4);
    const sum = Buffer.alloc(4);
    length.writeUInt32BE(data.length);
    sum.writeUInt32BE(crc32(body));
    return Buffer.concat([length, body, sum]);
  };
  const header = Buffer.alloc(13);
  header.writeUInt32BE(columns);
  header.writeUInt32BE(rows, 4);
  header.set([8, 2], 8);
  const length = columns * 3;
  const lines = Buffer.alloc((length + 1) * rows);  // each line behind a byte that says "as it is"
  for (let y = 0; y < rows; ++y) {
    rgb.copy(lines, y * (length + 1) + 1, y * length, (y + 1) * length);
  }
  return Buffer.concat([
    Buffer.from('89504e470d0a1a0a', 'hex'), chunk('IHDR', header),
    chunk('IDAT', deflateSync(lines, { level: 9 })), chunk('IEND', Buffer.alloc(0)),
  ]);
}

const [columns, rows] = [width * samples, height * samples];
const colour = new Float32Array(columns * rows * 3).fill(0.97);
const depth = new Float32Array(columns * rows).fill(Infinity);

const dot = (a, b) => a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
const cross = (a, b) => [0, 1, 2].map((i) =>
  a[(i + 1) % 3] * b[(i + 2) % 3] - a[(i + 2) % 3] * b[(i + 1) % 3]);
const unit = (a) => a.map((value) => value / Math.hypot(...a));

/** A view that fits the points into a column of the picture: point -> [x, y, distance]. */
function viewOf(points, from, left, wide) {
  const back = unit(from);
  const right = unit([back[2], 0, -back[0]]);
  const up = cross(back, right);
  const seen = points.map((point) => [dot(point, right), dot(point, up)]);
  const [low, high] = [Math.min, Math.max].map((choose) =>
    [0, 1].map((axis) => choose(...seen.map((pair) => pair[axis]))));
  const scale = 0.9 * Math.min(wide / (high[0] - low[0]), rows / (high[1] - low[1]));
  return (point) => [
    left + wide / 2 + scale * (dot(point, right) - (low[0] + high[0]) / 2),
    rows / 2 - scale * (dot(point, up) - (low[1] + high[1]) / 2),
    -dot(point, back),
  ];
}

/** Fills a triangle; shade(weights of the corners) answers the colour of a point. */
function fill([a, b, c], shade) {
  const area = (b[0] - a[0]) * (c[1] - a[1]) - (b[1] - a[1]) * (c[0] - a[0]);
  if (area === 0) return;
  const span = (axis, most) => [
    Math.max(0, Math.floor(Math.min(a[axis], b[axis], c[axis]))),
    Math.min(most - 1, Math.ceil(Math.max(a[axis], b[axis], c[axis])))];
  const [[x0, x1], [y0, y1]] = [span(0, columns), span(1, rows)];
  for (let y = y0; y <= y1; ++y) {
    for (let x = x0; x <= x1; ++x) {
      const v = ((x - a[0]) * (c[1] - a[1]) - (y - a[1]) * (c[0] - a[0])) / area;
      const w = ((b[0] - a[0]) * (y - a[1]) - (b[1] - a[1]) * (x - a[0])) / area;
      const u = 1 - v - w;
      if (u < 0 || v < 0 || w < 0) continue;
      const at = y * columns + x;
      const distance = u * a[2] + v * b[2] + w * c[2];
      if (distance >= depth[at]) continue;
      depth[at] = distance;
      colour.set(shade([u, v, w]), 3 * at);
    }
  }
}

const mixed = (weights, rowsOfThree) => rowsOfThree[0].map((_, i) =>
  weights[0] * rowsOfThree[0][i] + weights[1] * rowsOfThree[1][i] + weights[2] * rowsOfThree[2][i]);

const lights = [[unit([0.9, 1.2, 0.8]), 0.62], [unit([-1, 0.3, 0.5]), 0.25]];
const lit = (normal) => lights.reduce((sum, [direction, power]) =>
  sum + power * Math.max(0, dot(normal, direction)), 0.35);

function drawMesh({ positions, normals, coordinates }, view, paint) {
  for (let i = 0; i < positions.length; i += 3) {
    const corners = (list) => [list[i], list[i + 1], list[i + 2]];
    fill(corners(positions).map(view), (weights) => {
      const light = lit(unit(mixed(weights, corners(normals))));
      return paint(mixed(weights, corners(coordinates))).map((value) => Math.min(1, value * light));
    });
  }
}

/** A bone as a slim double pyramid; drawn last and in front of everything. */
function drawBone(head, tail, view) {
  const axis = [0, 1, 2].map((i) => tail[i] - head[i]);
  const side = unit(Math.abs(axis[1]) > Math.hypot(axis[0], axis[2]) ?
    [axis[1], -axis[0], 0] : [axis[2], 0, -axis[0]]);
  const other = unit(cross(axis, side));
  const wide = 0.09 * Math.hypot(...axis);
  const ring = [[side, 1], [other, 1], [side, -1], [other, -1]].map(([way, sign]) =>
    head.map((value, i) => value + 0.2 * axis[i] + sign * wide * way[i]));
  ring.forEach((edge, i) => {
    for (const end of [head, tail]) {
      const shade = 0.55 + 0.15 * (i % 2) + (end === head ? 0.12 : 0);
      const near = [end, edge, ring[(i + 1) % 4]].map(view).map(([x, y, z]) => [x, y, z - 1e4]);
      fill(near, () => [0.9 * shade + 0.1, 0.42 * shade, 0.12 * shade]);
    }
  });
}

const facts = readWithThree(process.argv[2]);
const points = facts.meshes.flatMap(({ positions }) => positions);
const { picture: png } = [...facts.materials.values()].find(({ picture }) => picture);
const picture = decodePng(png);
const texel = ([u, v]) => picture.at(
  Math.min(picture.columns - 1, Math.floor(u * picture.columns)),
  Math.min(picture.rows - 1, Math.floor((1 - v) * picture.rows))).map((value) => value / 255);

const textured = viewOf(points, [1, 0.35, 0.85], 0, columns / 2);
const plain = viewOf(points, [1, 0.35, 0.85], columns / 2, columns / 2);
facts.meshes.forEach((mesh) => {
  drawMesh(mesh, textured, texel);
  drawMesh(mesh, plain, () => [0.86, 0.88, 0.92]);
});
const placeOf = new Map(facts.bones.map(({ name, world }) => [name, [...world.slice(12, 15)]]));
for (const { name, parent } of facts.bones) {
  const [head, tail] = [placeOf.get(parent), placeOf.get(name)];
  // The bodies at the origin are no part of the animal.
  if (head?.some((value) => Math.abs(value) > 1)) drawBone(head, tail, plain);
}

const rgb = Buffer.alloc(width * height * 3);
for (let i = 0; i < rgb.length; ++i) {
  const [x, y, channel] = [Math.floor(i / 3) % width, Math.floor(i / 3 / width), i % 3];
  let sum = 0;
  for (let s = 0; s < samples * samples; ++s) {
    const at = (y * samples + Math.floor(s / samples)) * columns + x * samples + (s % samples);
    sum += colour[3 * at + channel];
  }
  rgb[i] = Math.round((255 * sum) / samples ** 2);
}
writeFileSync(process.argv[3], encodePng(width, height, rgb));
