// The character: the embedded FBX as three's own loader reads it, and its pose.
import { Box3, LoadingManager, Matrix4, Vector3 } from 'three';
import { FBXLoader } from 'three/examples/jsm/loaders/FBXLoader.js';
import { TGALoader } from 'three/examples/jsm/loaders/TGALoader.js';
import { localMatrix, measuresOf } from './pose.js';
import { Skin } from './skin.js';
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
    const meshes = [];
    root.traverse((/** @type {any} */ object) => {
      if (object.isMesh) meshes.push(object);
    });
    this.materials = new Set(meshes.flatMap(({ material }) => material));
    this._waitForPictures();
    root.updateMatrixWorld(true);
    this.joints = this._findJoints();
    this.jointOf = new Map(this.joints.map((joint) => [joint.body.id, joint]));
    this.skins = meshes.map((mesh) => this._skinOf(mesh));
    this.pose(() => 0, true);
    this.restBox = this.box();
    this.size = this.restBox.getSize(new Vector3()).length() || 1;
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

  /** What is drawn of a mesh, and the controls of its shapes. */
  _skinOf(mesh) {
    const owner = this._ownerOf(mesh);
    const bodies = mesh.isSkinnedMesh ?
      mesh.skeleton.bones.map((bone) => this.bodyOfNode.get(bone.ID)) : [owner];
    mesh.geometry = weld(mesh.geometry);
    const skin = new Skin(mesh, bodies);
    if (skin.bones) this.root.add(skin.mesh);
    const sliders = this.data.meshes.find(({ body }) => body === owner)?.sliders ?? [];
    return Object.assign(skin, {
      controls: skin.shapes.map((_, i) => this.data.sliders[sliders[i]].control) });
  }

  /** Poses everything by the values of the controls, or as at rest. */
  pose(valueOf, rest) {
    for (const { body, node, rest: matrix } of this.joints) {
      if (rest) node.matrix.copy(matrix);
      else localMatrix(node.matrix, matrix, body, valueOf, this.measures);
    }
    this.root.updateMatrixWorld(true);
    for (const skin of this.skins) {
      skin.amounts = skin.controls.map((control) => (rest ? 0 : valueOf(control)));
      skin.pose();
    }
  }

  /** The place of the parent of a joint in the world. */
  parentWorld({ node }) {
    return node.parent ? node.parent.matrixWorld : new Matrix4();
  }

  /** Every point of the meshes in the present pose. All are one vector, as are joints below. */
  *meshPoints() {
    const point = new Vector3();
    for (const { mesh } of this.skins) {
      const { position } = mesh.geometry.attributes;
      for (let i = 0; i < position.count; ++i) {
        yield point.fromBufferAttribute(position, i).applyMatrix4(mesh.matrixWorld);
      }
    }
  }

  *jointPoints() {
    const point = new Vector3();
    for (const { node } of this.joints) yield point.setFromMatrixPosition(node.matrixWorld);
  }

  /** What is worth being seen. */
  *points() {
    yield* this.meshPoints();
    yield* this.jointPoints();
    if (this.joints.length === 0) yield new Vector3();
  }

  /** What the meshes fill in the present pose, or the joints where there are none. */
  box() {
    const box = new Box3();
    for (const point of this.meshPoints()) box.expandByPoint(point);
    if (box.isEmpty()) for (const point of this.jointPoints()) box.expandByPoint(point);
    return box.isEmpty() ? box.set(new Vector3(-1, -1, -1), new Vector3(1, 1, 1)) : box;
  }
}
