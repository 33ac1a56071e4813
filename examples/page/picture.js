// The scene as a table and as a picture.

const SVG = "http://www.w3.org/2000/svg";
const COLOURS = ["#ffc14d", "#5ec8d8", "#f2857c", "#b9a3f5", "#8fd694"];
const LEAST_RADIUS = 0.3; // of what has no size, such as a lamp

function make(name, attributes, text) {
    const element = document.createElementNS(SVG, name);
    for (const [key, value] of Object.entries(attributes))
        element.setAttribute(key, value);
    if (text !== undefined)
        element.textContent = text;
    return element;
}

// Seen from the front, a little from above; what is farther away is smaller.
// The axes go to the right, away from the viewer, and up.
function project({ place: [x, y, z], size }) {
    const scale = 14 / Math.max(14 + y, 1);
    return {
        x: x * scale,
        y: (-y * 0.35 - z) * scale,
        ground: (-y * 0.35 + 2.4) * scale,
        radius: Math.max(size / 2, LEAST_RADIUS) * scale,
        distance: y,
    };
}

function draw(svg, objects) {
    const seen = objects
        .map((object, index) => ({
            ...project(object),
            name: object.name,
            colour: COLOURS[index % COLOURS.length],
        }))
        .sort((a, b) => b.distance - a.distance);
    const shadows = seen.map(({ x, ground, radius }) => make("ellipse", {
        class: "ground", cx: x, cy: ground, rx: radius, ry: radius * 0.3,
    }));
    const bodies = seen.flatMap(({ x, y, radius, colour, name }) => [
        make("circle", { cx: x, cy: y, r: radius, fill: colour }),
        make("circle", {
            cx: x - radius * 0.35, cy: y - radius * 0.35, r: radius * 0.25,
            fill: "#fff", opacity: 0.45,
        }),
        make("text", { x, y: y + radius + 0.7 }, name),
    ]);
    svg.replaceChildren(...shadows, ...bodies);
}

// The application's own picture where it has one, a drawing otherwise.
export async function showPicture({ image, svg }, { objects, picture }) {
    if (picture) {
        image.src = `data:image/png;base64,${picture}`;
        await image.decode();
    } else {
        draw(svg, objects);
    }
    image.hidden = !picture;
    svg.toggleAttribute("hidden", Boolean(picture));
}

// Filled up with spaces as wide as a digit; so is the minus sign.
function padded(value) {
    return value.toFixed(1).replace("-", "\u2212").padStart(5, "\u2007");
}

function makeRow(name) {
    const row = document.createElement("tr");
    const label = document.createElement("label");
    const choice = document.createElement("input");
    Object.assign(choice, { type: "radio", name: "object", value: name });
    label.append(choice, name);
    row.insertCell().append(label);
    for (let cell = 1; cell < 4; ++cell)
        row.insertCell();
    return row;
}

function choices(body) {
    return [...body.querySelectorAll("input")];
}

// The name of the object that is chosen.
export function chosenName(body) {
    return choices(body).find((choice) => choice.checked)?.value;
}

// Rows stay as long as the names do, so that one keeps the focus.
export function showTable(body, objects) {
    const names = objects.map(({ name }) => name);
    const shown = choices(body).map((choice) => choice.value);
    if (JSON.stringify(names) !== JSON.stringify(shown)) {
        const name = chosenName(body);
        body.replaceChildren(...names.map(makeRow));
        // What can be seen to move, rather than a camera or a lamp.
        const index = names.includes(name)
            ? names.indexOf(name)
            : Math.max(objects.findIndex(({ size }) => size > 0), 0);
        if (names.length > 0)
            choices(body)[index].checked = true;
    }
    for (const [index, { kind, size, place }] of objects.entries()) {
        const [, ...cells] = body.rows[index].cells;
        cells[0].textContent = kind;
        cells[1].textContent = size.toFixed(2);
        cells[2].textContent = place.map(padded).join(" ");
    }
}
