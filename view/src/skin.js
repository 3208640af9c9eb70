// Puts the points of a mesh where its shapes and bones have them. The page does it rather than the
// graphics: without a graphics processor that is several times quicker, with one it is no matter,
// and turning the camera costs nothing. Boxes and normals take the same points.
import { DynamicDrawUsage, Matrix4, Mesh } from 'three';

const kWeights = 4;  // of each point, as the loader leaves them

export class Skin {
  /**
   * @param {any} loaded a mesh, with bones or without, of which this makes the `mesh` that is drawn
   * @param {number[]} bodies the ids of the bodies behind its bones, or of the one that it hangs under
   */
  constructor(loaded, bodies) {
    const { geometry } = loaded;
    this.bodies = bodies;
    this.mesh = loaded;
    if (loaded.isSkinnedMesh) {
      this.bones = loaded.skeleton.bones;
      this.binds = loaded.skeleton.boneInverses.map((inverse) =>
        new Matrix4().multiplyMatrices(inverse, loaded.bindMatrix));
      this.matrices = new Float32Array(16 * this.bones.length);
      this.mesh = new Mesh(geometry, loaded.material);  // its points will be in the world
      this.mesh.name = loaded.name;
      loaded.removeFromParent();
    }
    this.mesh.frustumCulled = false;  // a pose can take it far from where it rests
    this.shapes = (geometry.morphAttributes.position ?? []).map(({ array }) => array);
    this.amounts = this.shapes.map(() => 0);
    geometry.morphAttributes = {};
    this.moves = Boolean(this.bones) || this.shapes.length > 0;
    if (!this.moves) return;
    const { position, normal } = geometry.attributes;
    for (const attribute of [position, normal]) attribute.setUsage(DynamicDrawUsage);
    this.points = position.array.slice();
    this.normals = normal.array.slice();
    this.shaped = this.points.slice();
  }

  /** Follows the bones, which stand where the pose has them. */
  pose() {
    if (!this.moves) return;
    const { position, normal } = this.mesh.geometry.attributes;
    this._shape();
    if (this.bones) this._follow(position.array, normal.array);
    else position.array.set(this.shaped);
    position.needsUpdate = normal.needsUpdate = true;
  }

  _shape() {
    const { shaped, shapes, amounts } = this;
    shaped.set(this.points);
    shapes.forEach((shape, k) => {
      const amount = amounts[k];
      if (amount === 0) return;
      for (let i = 0; i < shaped.length; ++i) shaped[i] += amount * shape[i];
    });
  }

  _follow(toPoints, toNormals) {
    const { shaped, normals, matrices: m } = this;
    const { skinIndex: { array: indices }, skinWeight: { array: weights } } =
      this.mesh.geometry.attributes;
    const matrix = new Matrix4();
    this.bones.forEach((bone, i) =>
      matrix.multiplyMatrices(bone.matrixWorld, this.binds[i]).toArray(m, 16 * i));
    for (let at = 0, pair = 0; at < shaped.length; at += 3) {
      const [x, y, z] = [shaped[at], shaped[at + 1], shaped[at + 2]];
      const [u, v, w] = [normals[at], normals[at + 1], normals[at + 2]];
      let [px, py, pz, nx, ny, nz] = [0, 0, 0, 0, 0, 0];
      for (const end = pair + kWeights; pair < end; ++pair) {
        const part = weights[pair];
        if (part === 0) continue;
        const b = 16 * indices[pair];
        px += part * (m[b] * x + m[b + 4] * y + m[b + 8] * z + m[b + 12]);
        py += part * (m[b + 1] * x + m[b + 5] * y + m[b + 9] * z + m[b + 13]);
        pz += part * (m[b + 2] * x + m[b + 6] * y + m[b + 10] * z + m[b + 14]);
        nx += part * (m[b] * u + m[b + 4] * v + m[b + 8] * w);
        ny += part * (m[b + 1] * u + m[b + 5] * v + m[b + 9] * w);
        nz += part * (m[b + 2] * u + m[b + 6] * v + m[b + 10] * w);
      }
      toPoints[at] = px;
      toPoints[at + 1] = py;
      toPoints[at + 2] = pz;
      toNormals[at] = nx;
      toNormals[at + 1] = ny;
      toNormals[at + 2] = nz;
    }
  }

  /** How much a point follows the bodies that are marked, a mark for each of `bodies`. */
  weightOf(point, marks) {
    if (!this.bones) return Number(marks[0]);
    const { skinIndex, skinWeight } = this.mesh.geometry.attributes;
    let weight = 0;
    for (let i = kWeights * point; i < kWeights * (point + 1); ++i) {
      if (marks[skinIndex.array[i]]) weight += skinWeight.array[i];
    }
    return weight;
  }
}
