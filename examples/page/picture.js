// The scene as a table and as a picture.

const SVG = "http://www.w3.org/2000/svg";
const COLOURS = ["#ffc14d", "#5ec8d8", "#f2857c", "#b9a3f5", "#8fd694"];

function make(name, attributes, text) {
    const element = document.createElementNS(SVG, name);
    for (const [key, value] of Object.entries(attributes))
        element.setAttribute(key, value);
    if (text !== undefined)
        element.textContent = text;
    return element;
}

// Seen from the front, a little from above; what is farther away is smaller
// and drawn first.
function project({ place: [x, y, z], radius }) {
    const scale = 14 / (14 - z);
    return {
        x: x * scale,
        y: (z * 0.35 - y) * scale,
        ground: (z * 0.35 + 2.4) * scale,
        radius: radius * scale,
        z,
    };
}

export function showPicture(svg, spheres) {
    const seen = spheres
        .map((sphere, index) => ({
            ...project(sphere),
            name: sphere.name,
            colour: COLOURS[index % COLOURS.length],
        }))
        .sort((a, b) => a.z - b.z);
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

// Filled up with spaces as wide as a digit.
function padded(value) {
    return value.toFixed(1).padStart(5, "\u2007");
}

export function showTable(body, spheres) {
    body.replaceChildren(...spheres.map(({ name, radius, volume, place }) => {
        const row = document.createElement("tr");
        const cells = [
            name,
            radius.toFixed(2),
            volume.toFixed(3),
            place.map(padded).join(" "),
        ];
        for (const cell of cells)
            row.insertCell().textContent = cell;
        return row;
    }));
}
