// The character: the embedded FBX as three's own loader reads it, and its pose.
import { Box3, LoadingManager, Matrix4, Vector3 } from 'three';
import { FBXLoader } from 'three/examples/jsm/loaders/FBXLoader.js';
import { TGALoader } from 'three/examples/jsm/loaders/TGALoader.js';
import { localMatrix, measuresOf } from './pose.js';
import { weld } from './weld.js';

// What stands in for a picture that is not in the file: the page asks no one for it.
const kNoPicture =
  'data:image/gif;base64,R0lGODlhAQABAIAAAMzMzP///ywAAAAAAQABAAACAkQBADs=';

/** Loads the FBX; answers the scene and what the loader had to remark. */
function load(fbx, changed) {
  const manager = new LoadingManager();
  manager.onProgress = changed;
  manager.addHandler(/\.tga$/i, new TGALoader(manager));
  manager.setURLModifier((url) => (/^(blob|data):/.test(url) ? url : kNoPicture));
  const remarks = new Set();
  const { warn } = console;
  console.warn = (...words) => remarks.add(words.join(' ').replace(/^(THREE\.)?FBXLoader: /, ''));
  try {
    return { root: new FBXLoader(manager).parse(fbx, ''), remarks: [...remarks] };
  } finally {
    console.warn = warn;
  }
}

export class Character {
  /** @param {any} data @param {ArrayBuffer} fbx @param {() => void} changed when a picture is there */
  constructor(data, fbx, changed) {
    const { root, remarks } = load(fbx, changed);
    this.root = root;
    this.remarks = remarks;
    this.data = data;
    this.measures = measuresOf(data);
    /** @type {any[]} */
    this.meshes = [];
    this.materials = new Set();
    root.traverse((/** @type {any} */ object) => {
      if (object.isMesh) this.meshes.push(object);
    });
    this.meshes.forEach((mesh) => this._prepare(mesh));
    this._waitForPictures();
    root.updateMatrixWorld(true);
    this.joints = this._findJoints();
    this.jointOf = new Map(this.joints.map((joint) => [joint.body.id, joint]));
    this._findShapes();
    this.restBox = this.box();
    this.size = this.restBox.getSize(new Vector3()).length() || 1;
  }

  _prepare(mesh) {
    mesh.geometry = weld(mesh.geometry);
    mesh.frustumCulled = false;  // a pose can take it far from where it rests
    for (const material of [mesh.material].flat()) this.materials.add(material);
  }

  // A picture joins its material when it has arrived, so that one which never does (a file that is
  // missing, a format that browsers do not know) leaves a plain colour rather than black.
  _waitForPictures() {
    this.pictures = [...this.materials].flatMap((material) => ['map', 'envMap']
      .filter((slot) => material[slot])
      .map((slot) => ({ material, slot, texture: material[slot], arrived: false })));
    for (const { material, slot } of this.pictures) material[slot] = null;
  }

  /** Notes which pictures have arrived since; true when there are any. */
  takePictures() {
    const fresh = this.pictures.filter(({ texture, arrived }) =>
      !arrived && texture.version > 0 && texture.image?.src !== kNoPicture);
    for (const picture of fresh) picture.arrived = true;
    return fresh.length > 0;
  }

  // The bodies stand in the data as their nodes stand in the file. A bone that several skins share is
  // doubled by the loader, and the copies have no transform data of their own.
  _findJoints() {
    const nodes = [];
    this.root.traverse((/** @type {any} */ object) => {
      if (object.isBone && object.userData.transformData) nodes.push(object);
    });
    if (nodes.length !== this.data.bodies.length) {
      throw new Error(`The FBX has ${nodes.length} bones for ${this.data.bodies.length} bodies.`);
    }
    this.bodyOfNode = new Map();  // by the node's id in the file, which copies share
    return this.data.bodies.map((body, i) => {
      const node = nodes[i];
      this.bodyOfNode.set(node.ID, body.id);
      node.matrixAutoUpdate = false;
      return { body, node, rest: node.matrix.clone() };
    });
  }

  /** The id of the body that a mesh hangs under, 0 for none. */
  _ownerOf(mesh) {
    let node = mesh.parent;
    while (node && !this.bodyOfNode.has(node.ID)) node = node.parent;
    return node ? this.bodyOfNode.get(node.ID) : 0;
  }

  _findShapes() {
    const meshOf = new Map(this.meshes.map((mesh) => [this._ownerOf(mesh), mesh]));
    this.shapes = [];
    for (const { body, sliders } of this.data.meshes) {
      const mesh = meshOf.get(body);
      if (!mesh?.morphTargetInfluences) continue;
      sliders.forEach((slider, i) =>
        this.shapes.push({ mesh, target: i, control: this.data.sliders[slider].control }));
    }
  }

  /** Poses everything by the values of the controls, or as at rest. */
  pose(valueOf, rest) {
    for (const { body, node, rest: matrix } of this.joints) {
      if (rest) node.matrix.copy(matrix);
      else localMatrix(node.matrix, matrix, body, valueOf, this.measures);
    }
    for (const { mesh, target, control } of this.shapes) {
      mesh.morphTargetInfluences[target] = rest ? 0 : valueOf(control);
    }
    this.root.updateMatrixWorld(true);
  }

  /** The place of the parent of a joint in the world. */
  parentWorld({ node }) {
    return node.parent ? node.parent.matrixWorld : new Matrix4();
  }

  /** What the meshes fill in the present pose, or the joints where there are none. */
  box() {
    const box = new Box3();
    const point = new Vector3();
    for (const mesh of this.meshes) {
      for (let i = 0; i < mesh.geometry.attributes.position.count; ++i) {
        box.expandByPoint(mesh.getVertexPosition(i, point).applyMatrix4(mesh.matrixWorld));
      }
    }
    if (box.isEmpty()) {
      for (const { node } of this.joints) {
        box.expandByPoint(point.setFromMatrixPosition(node.matrixWorld));
      }
    }
    return box.isEmpty() ? box.set(new Vector3(-1, -1, -1), new Vector3(1, 1, 1)) : box;
  }

  /** For each bone of a mesh's skin the body that it is; an unskinned mesh follows one body. */
  bodiesOf(mesh) {
    if (!mesh.isSkinnedMesh) return [this._ownerOf(mesh)];
    return mesh.skeleton.bones.map((bone) => this.bodyOfNode.get(bone.ID));
  }
}
