// How the meshes are drawn: with materials and textures or without, as wires, with normals, or
// coloured by the weights of the chosen body.
import {
  BufferAttribute, BufferGeometry, Color, Mesh, MeshBasicMaterial, MeshLambertMaterial, SkinnedMesh,
} from 'three';

// From no weight to full weight.
const kHeat = ['#27306b', '#2166c0', '#22a6a0', '#7ccb3a', '#f2d03b', '#f0801f', '#d42a1f']
  .map((text) => new Color(text));
const kLit = new Color(0xff8a00);

function heat(weight, target) {
  const place = Math.min(Math.max(weight, 0), 1) * (kHeat.length - 1);
  const below = Math.min(Math.floor(place), kHeat.length - 2);
  return target.lerpColors(kHeat[below], kHeat[below + 1], place - below);
}

export class Looks {
  constructor(character, stage, state) {
    this.character = character;
    this.stage = stage;
    this.state = state;
    this.settings = { materials: true, textures: true, wireframe: false, normals: false,
      weights: false, box: false };
    this.plain = new MeshLambertMaterial({ color: 0xb9bec8 });
    this.heated = new MeshLambertMaterial({ vertexColors: true });
    this.own = character.meshes.map(({ material }) => material);
    this.emissive = [...character.materials].map((material) =>
      ({ material, color: material.emissive.clone(), intensity: material.emissiveIntensity }));
    this.normals = [];
  }

  set(name, on) {
    this.settings[name] = on;
    this.apply();
  }

  apply() {
    const { settings, character, state } = this;
    for (const { material, slot, texture, arrived } of character.pictures) {
      const wanted = settings.textures && arrived ? texture : null;
      if (material[slot] === wanted) continue;
      material[slot] = wanted;
      material.needsUpdate = true;
    }
    for (const { material, color, intensity } of this.emissive) {
      const lit = state.material !== null && material.name === state.material;
      material.wireframe = settings.wireframe;
      material.emissive.copy(lit ? kLit : color);
      material.emissiveIntensity = lit ? 1 : intensity;
    }
    this.plain.wireframe = this.heated.wireframe = settings.wireframe;
    character.meshes.forEach((mesh, i) => {
      const one = settings.weights ? this.heated : settings.materials ? null : this.plain;
      mesh.material = one === null ? this.own[i] :
        Array.isArray(this.own[i]) ? this.own[i].map(() => one) : one;
      if (settings.weights) this._heat(mesh);
    });
    this._showNormals();
    this.updateBox();
    this.stage.invalidate();
  }

  /** Colours the points of a mesh by how much they follow the chosen body. */
  _heat(mesh) {
    const { geometry } = mesh;
    const { position, skinIndex, skinWeight } = geometry.attributes;
    const chosen = this.character.bodiesOf(mesh).map((id) => id === this.state.body);
    if (!geometry.attributes.color) {
      geometry.setAttribute('color', new BufferAttribute(new Float32Array(3 * position.count), 3));
    }
    const { color } = geometry.attributes;
    const mixed = new Color();
    for (let i = 0; i < position.count; ++i) {
      let weight = mesh.isSkinnedMesh ? 0 : Number(chosen[0]);
      for (let k = 0; mesh.isSkinnedMesh && k < 4; ++k) {
        if (chosen[skinIndex.getComponent(i, k)]) weight += skinWeight.getComponent(i, k);
      }
      heat(weight, mixed);
      color.setXYZ(i, mixed.r, mixed.g, mixed.b);
    }
    color.needsUpdate = true;
  }

  _showNormals() {
    if (this.settings.normals && this.normals.length === 0) {
      this.normals = this.character.meshes.map((mesh) => normalsOf(mesh, this.character.size * 0.015));
    }
    for (const lines of this.normals) if (lines) lines.visible = this.settings.normals;
  }

  /** The box of the present pose is work, so it waits until the pose stands still. */
  updateBox() {
    const { boxHelper } = this.stage;
    boxHelper.visible = this.settings.box;
    if (!this.settings.box) return;
    clearTimeout(this.boxTimer);
    this.boxTimer = setTimeout(() => {
      boxHelper.box.copy(this.character.box());
      this.stage.invalidate();
    }, 100);
  }
}

/**
 * The normals of a mesh as lines that move with it: triangles without area, drawn as wires, which
 * are skinned like any others.
 */
function normalsOf(mesh, length) {
  const { position, normal, skinIndex, skinWeight } = mesh.geometry.attributes;
  if (!normal) return null;
  const { count } = position;
  const twice = (attribute) => {
    const array = new attribute.array.constructor(2 * attribute.array.length);
    array.set(attribute.array);
    array.set(attribute.array, attribute.array.length);
    return new BufferAttribute(array, attribute.itemSize);
  };
  const geometry = new BufferGeometry();
  geometry.setAttribute('position', twice(position));
  const ends = geometry.attributes.position;
  for (let i = 0; i < count; ++i) {
    for (let axis = 0; axis < 3; ++axis) {
      ends.setComponent(count + i, axis,
        position.getComponent(i, axis) + length * normal.getComponent(i, axis));
    }
  }
  const index = new Uint32Array(3 * count);
  for (let i = 0; i < count; ++i) index.set([i, count + i, i], 3 * i);
  geometry.setIndex(new BufferAttribute(index, 1));
  const morphs = mesh.geometry.morphAttributes.position;
  if (morphs) {
    geometry.morphAttributes.position = morphs.map(twice);
    geometry.morphTargetsRelative = true;
  }
  const material = new MeshBasicMaterial({ color: 0x18b2c9, wireframe: true });
  let lines;
  if (mesh.isSkinnedMesh) {
    geometry.setAttribute('skinIndex', twice(skinIndex));
    geometry.setAttribute('skinWeight', twice(skinWeight));
    lines = new SkinnedMesh(geometry, material);
    lines.bind(mesh.skeleton, mesh.bindMatrix);
  } else {
    lines = new Mesh(geometry, material);
  }
  lines.morphTargetInfluences = mesh.morphTargetInfluences;
  lines.frustumCulled = false;
  mesh.add(lines);
  return lines;
}
