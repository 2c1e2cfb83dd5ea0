// The report's 3-D view: the quad meshes with the C-scan as colours, the probe raster and the
// sample beams, turned with the orbit controls. Reads the scan from the "scan-data" element.
(function () {
  'use strict';

  var scan = JSON.parse(document.getElementById('scan-data').textContent);
  var viewer = document.getElementById('viewer');
  var legend = document.getElementById('legend');

  function bytesOf(base64) {
    var text = atob(base64);
    var bytes = new Uint8Array(text.length);
    for (var i = 0; i < text.length; ++i) bytes[i] = text.charCodeAt(i);
    return bytes;
  }
  function floatsOf(base64) {
    var bytes = bytesOf(base64);
    return new Float32Array(bytes.buffer, 0, bytes.length / 4);
  }
  function uintsOf(base64) {
    var bytes = bytesOf(base64);
    return new Uint32Array(bytes.buffer, 0, bytes.length / 4);
  }

  var renderer;
  try {
    renderer = new THREE.WebGLRenderer({ antialias: true, preserveDrawingBuffer: true });
  } catch (error) {
    viewer.innerHTML = '<p>This browser cannot show the 3-D view: it has no WebGL.</p>';
    return;
  }
  renderer.setPixelRatio(window.devicePixelRatio || 1);
  renderer.setSize(viewer.clientWidth, viewer.clientHeight);
  renderer.setClearColor(0xf4f5f7, 1);
  viewer.appendChild(renderer.domElement);

  var scene = new THREE.Scene();
  var camera = new THREE.PerspectiveCamera(35, viewer.clientWidth / viewer.clientHeight, 1, 10);
  camera.up.set(0, 0, 1);
  scene.add(new THREE.AmbientLight(0xffffff, 0.55));
  var headLight = new THREE.DirectionalLight(0xffffff, 0.5);
  camera.add(headLight);
  scene.add(camera);

  // Colours: table entry floor(t * 256) of the value's place t on the scale, as in the pictures.
  var table = scan.colourMap.table;
  var miss = scan.colourMap.miss;
  function mapColour(value, scale, out) {
    if (value !== value) return miss;
    var t = (value - scale[0]) / (scale[1] - scale[0]);
    var index = Math.min(255, Math.max(0, Math.floor(t * 256)));
    out[0] = table[3 * index];
    out[1] = table[3 * index + 1];
    out[2] = table[3 * index + 2];
    return out;
  }

  var surfaces = [];
  scan.meshes.forEach(function (mesh) {
    var points = floatsOf(mesh.points);
    var quads = uintsOf(mesh.quads);
    var nu = mesh.nu;
    var positions = new Float32Array(quads.length * 18);
    var corners = [0, 1, nu + 1, 0, nu + 1, nu];
    for (var q = 0; q < quads.length; ++q) {
      for (var k = 0; k < 6; ++k) {
        var point = 3 * (quads[q] + corners[k]);
        positions[18 * q + 3 * k] = points[point];
        positions[18 * q + 3 * k + 1] = points[point + 1];
        positions[18 * q + 3 * k + 2] = points[point + 2];
      }
    }
    var geometry = new THREE.BufferGeometry();
    geometry.setAttribute('position', new THREE.BufferAttribute(positions, 3));
    geometry.setAttribute('color', new THREE.BufferAttribute(new Float32Array(positions.length), 3));
    geometry.computeVertexNormals();
    var material = new THREE.MeshLambertMaterial({ vertexColors: THREE.VertexColors, side: THREE.DoubleSide });
    var object = new THREE.Mesh(geometry, material);
    scene.add(object);
    surfaces.push({ mesh: mesh, geometry: geometry, object: object,
                    distance: floatsOf(mesh.distance), angle: floatsOf(mesh.angle) });
  });

  function colourSurfaces(mode, shading) {
    var rgb = [0, 0, 0];
    surfaces.forEach(function (surface) {
      var colours = surface.geometry.getAttribute('color');
      var values = mode === 'angle' ? surface.angle : surface.distance;
      var scale = scan.scales[mode];
      for (var q = 0; q < values.length; ++q) {
        var colour = mode === 'mesh' ? (values[q] === values[q] ? surface.mesh.colour : miss)
                                     : mapColour(values[q], scale, rgb);
        for (var k = 0; k < 6; ++k)
          colours.setXYZ(6 * q + k, colour[0] / 255, colour[1] / 255, colour[2] / 255);
      }
      colours.needsUpdate = true;
      var material = shading ? new THREE.MeshLambertMaterial({ vertexColors: THREE.VertexColors, side: THREE.DoubleSide })
                             : new THREE.MeshBasicMaterial({ vertexColors: THREE.VertexColors, side: THREE.DoubleSide });
      surface.object.material.dispose();
      surface.object.material = material;
    });
  }

  function shortNumber(value) {
    return String(Number(value.toPrecision(4)));
  }
  function css(colour) {
    return 'rgb(' + colour[0] + ',' + colour[1] + ',' + colour[2] + ')';
  }
  function swatch(colour) {
    var span = document.createElement('span');
    span.className = 'swatch';
    span.style.background = css(colour);
    return span;
  }
  function line(parts) {
    var div = document.createElement('div');
    parts.forEach(function (part) {
      div.appendChild(typeof part === 'string' ? document.createTextNode(part) : part);
    });
    return div;
  }
  function showLegend(mode) {
    while (legend.firstChild) legend.removeChild(legend.firstChild);
    if (mode === 'mesh') {
      scan.meshes.forEach(function (mesh, i) {
        legend.appendChild(line([swatch(mesh.colour), (i + 1) + ': ' + mesh.name]));
      });
    } else {
      var scale = scan.scales[mode];
      var stops = [];
      for (var i = 0; i <= 16; ++i) {
        var index = Math.min(255, Math.floor(i * 16));
        stops.push(css([table[3 * index], table[3 * index + 1], table[3 * index + 2]]) + ' ' + (i * 100 / 16) + '%');
      }
      var bar = document.createElement('span');
      bar.className = 'bar';
      bar.style.background = 'linear-gradient(to right, ' + stops.join(', ') + ')';
      var unit = mode === 'angle' ? ' degrees' : ' mm';
      legend.appendChild(line([shortNumber(scale[0]) + ' ', bar, ' ' + shortNumber(scale[1]) + unit]));
    }
    legend.appendChild(line([swatch(miss), 'no hit']));
  }

  // The probe raster: its outline, and a dot per drawn position, dark where the beam hit.
  var raster = scan.raster;
  var half = raster.step / 2;
  var x1 = raster.x0 + (raster.countX - 1) * raster.step + half;
  var y1 = raster.y0 + (raster.countY - 1) * raster.step + half;
  var outline = new THREE.BufferGeometry();
  outline.setAttribute('position', new THREE.Float32BufferAttribute([
    raster.x0 - half, raster.y0 - half, raster.z, x1, raster.y0 - half, raster.z,
    x1, y1, raster.z, raster.x0 - half, y1, raster.z], 3));
  scene.add(new THREE.LineLoop(outline, new THREE.LineBasicMaterial({ color: 0x4a4f58 })));
  var hits = bytesOf(raster.hits);
  var dotPositions = [];
  var dotColours = [];
  var flag = 0;
  for (var j = 0; j < raster.countY; j += raster.stride) {
    for (var i = 0; i < raster.countX; i += raster.stride) {
      dotPositions.push(raster.x0 + i * raster.step, raster.y0 + j * raster.step, raster.z);
      if (hits[flag++]) dotColours.push(0.19, 0.2, 0.23);
      else dotColours.push(0.9, 0.3, 0.3);
    }
  }
  var dots = new THREE.BufferGeometry();
  dots.setAttribute('position', new THREE.Float32BufferAttribute(dotPositions, 3));
  dots.setAttribute('color', new THREE.Float32BufferAttribute(dotColours, 3));
  scene.add(new THREE.Points(dots, new THREE.PointsMaterial({ size: 2.5, sizeAttenuation: false, vertexColors: THREE.VertexColors })));

  // The sample beams: to the hit, or (missed) down to the part's lowest plane.
  var box = scan.box;
  var hitLines = [];
  var missLines = [];
  var hitPoints = [];
  scan.beams.forEach(function (beam) {
    var length = beam[6];
    var missed = length === null;
    if (missed) length = Math.abs(beam[5]) > 1e-9 ? (beam[2] - box[2]) / Math.abs(beam[5]) : 0;
    var end = [beam[0] + length * beam[3], beam[1] + length * beam[4], beam[2] + length * beam[5]];
    var target = missed ? missLines : hitLines;
    target.push(beam[0], beam[1], beam[2], end[0], end[1], end[2]);
    if (!missed) hitPoints.push(end[0], end[1], end[2]);
  });
  function addLines(positions, colour) {
    if (positions.length === 0) return;
    var geometry = new THREE.BufferGeometry();
    geometry.setAttribute('position', new THREE.Float32BufferAttribute(positions, 3));
    scene.add(new THREE.LineSegments(geometry, new THREE.LineBasicMaterial({ color: colour })));
  }
  addLines(hitLines, 0x1b1d21);
  addLines(missLines, 0xd62728);
  if (hitPoints.length > 0) {
    var ends = new THREE.BufferGeometry();
    ends.setAttribute('position', new THREE.Float32BufferAttribute(hitPoints, 3));
    scene.add(new THREE.Points(ends, new THREE.PointsMaterial({ color: 0x1b1d21, size: 6, sizeAttenuation: false })));
  }

  // Look at the part and the probe plane from the front right, above.
  var low = new THREE.Vector3(Math.min(box[0], raster.x0 - half), Math.min(box[1], raster.y0 - half), box[2]);
  var high = new THREE.Vector3(Math.max(box[3], x1), Math.max(box[4], y1), Math.max(box[5], raster.z));
  var centre = low.clone().add(high).multiplyScalar(0.5);
  var radius = Math.max(high.distanceTo(low) / 2, 1e-6);
  // The bounding sphere fills the narrower of the two view angles.
  var halfAngle = Math.atan(Math.tan(camera.fov * Math.PI / 360) * Math.min(1, camera.aspect));
  var distance = radius / Math.sin(halfAngle) * 0.75;
  camera.position.copy(new THREE.Vector3(0.45, -1.0, 1.0).normalize().multiplyScalar(distance).add(centre));
  camera.near = distance / 100;
  camera.far = distance * 10;
  camera.updateProjectionMatrix();

  function render() {
    renderer.render(scene, camera);
  }
  var controls = new THREE.OrbitControls(camera, renderer.domElement);
  controls.target.copy(centre);
  controls.update();
  controls.addEventListener('change', render);

  var shadingBox = document.getElementById('shading');
  function currentMode() {
    return document.querySelector('input[name="colour"]:checked').value;
  }
  function update() {
    colourSurfaces(currentMode(), shadingBox.checked);
    showLegend(currentMode());
    render();
  }
  Array.prototype.forEach.call(document.querySelectorAll('input[name="colour"]'), function (input) {
    input.addEventListener('change', update);
  });
  shadingBox.addEventListener('change', update);
  window.addEventListener('resize', function () {
    camera.aspect = viewer.clientWidth / viewer.clientHeight;
    camera.updateProjectionMatrix();
    renderer.setSize(viewer.clientWidth, viewer.clientHeight);
    render();
  });
  update();
})();
