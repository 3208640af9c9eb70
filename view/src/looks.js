// How the meshes are drawn: with materials and textures or without, as wires, with normals, or
// coloured by the weights of the chosen body.
import {
  BufferAttribute, BufferGeometry, Color, LineBasicMaterial, LineSegments, MeshLambertMaterial,
} from 'three';
import { element } from './dom.js';

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
    this.own = character.skins.map(({ mesh }) => mesh.material);
    this.emissive = [...character.materials].map((material) =>
      ({ material, color: material.emissive.clone(), intensity: material.emissiveIntensity }));
    this.normals = new Map();  // lines by mesh
    this.normalMaterial = new LineBasicMaterial({ color: 0x18b2c9 });
  }

  /** The colours of weights, from 0 to 1. */
  scale() {
    const bar = element('i');
    bar.style.background = `linear-gradient(to right, ${kHeat.map((color) => color.getStyle())})`;
    return bar;
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
    character.skins.forEach((skin, i) => {
      const { mesh } = skin;
      const one = settings.weights ? this.heated : settings.materials ? null : this.plain;
      mesh.material = one === null ? this.own[i] :
        Array.isArray(this.own[i]) ? this.own[i].map(() => one) : one;
      if (settings.weights) this._heat(skin);
    });
    this.follow();
    this.stage.invalidate();
  }

  /** Colours the points of a mesh by how much they follow the chosen body. */
  _heat(skin) {
    const { geometry } = skin.mesh;
    const { count } = geometry.attributes.position;
    const marks = skin.bodies.map((id) => id === this.state.body);
    if (!geometry.attributes.color) {
      geometry.setAttribute('color', new BufferAttribute(new Float32Array(3 * count), 3));
    }
    const { color } = geometry.attributes;
    const mixed = new Color();
    for (let i = 0; i < count; ++i) {
      heat(skin.weightOf(i, marks), mixed);
      color.setXYZ(i, mixed.r, mixed.g, mixed.b);
    }
    color.needsUpdate = true;
  }

  /** Follows a pose with what is drawn about the meshes. */
  follow() {
    for (const lines of this.normals.values()) lines.visible = this.settings.normals;
    if (this.settings.normals) {
      for (const { mesh } of this.character.skins) this._showNormals(mesh);
    }
    this._updateBox();
  }

  _showNormals(mesh) {
    const { position, normal } = mesh.geometry.attributes;
    if (!this.normals.has(mesh)) {
      const lines = new LineSegments(new BufferGeometry(), this.normalMaterial);
      lines.geometry.setAttribute('position',
        new BufferAttribute(new Float32Array(6 * position.count), 3));
      lines.frustumCulled = false;
      mesh.add(lines);
      this.normals.set(mesh, lines);
    }
    const ends = this.normals.get(mesh).geometry.attributes.position;
    const length = 0.015 * this.character.size;
    for (let i = 0; i < position.array.length; i += 3) {
      for (let axis = 0; axis < 3; ++axis) {
        const start = position.array[i + axis];
        ends.array[2 * i + axis] = start;
        ends.array[2 * i + 3 + axis] = start + length * normal.array[i + axis];
      }
    }
    ends.needsUpdate = true;
  }

  /** The box of the present pose is work, so it waits until the pose stands still. */
  _updateBox() {
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
