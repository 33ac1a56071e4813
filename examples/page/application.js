// The application as this page uses it: its scene, and what its answers mean.

// What is sent once. A scene that is there already is left as it is.
export const SCENE = `
import json, math

class Sphere:
    def __init__(self, name, radius, distance, height, start):
        self.name, self.radius = name, radius
        self.distance, self.height, self.start = distance, height, start

    def volume(self):
        return 4 / 3 * math.pi * self.radius ** 3

    def place(self, degrees):
        turn = math.radians(degrees * 3 / self.distance + self.start)
        return (self.distance * math.cos(turn), self.height,
                self.distance * math.sin(turn))

def describe(degrees):
    return json.dumps([
        {"name": s.name, "radius": s.radius, "volume": s.volume(),
         "place": s.place(degrees)} for s in scene])

if "scene" not in globals():
    scene = [Sphere("Größe", 1.5, 1.2, 0.4, 200),
             Sphere("Ключ", 1.1, 4, 0, 60),
             Sphere("Σφαίρα", 0.8, 6, 0.8, 300),
             Sphere("Lune", 0.5, 7.5, -0.4, 140)]
`;

// The component's own words for an application that is not there.
const NO_APPLICATION = "ERROR: Could not connect to Valdrin to run command";

export function isNoApplication(reply) {
    return reply === NO_APPLICATION;
}

// The application answers a failure with its text, not with an error.
export function isFailure(reply) {
    return reply.startsWith("ERROR: ") || reply.startsWith("Traceback ");
}

// The spheres at an angle. Throws when the reply is something else.
export async function askForSpheres(valdrin, degrees, signal) {
    const expression = `describe(${Number(degrees)})`;
    const reply = await valdrin.RunPythonExpression(expression, { signal });
    if (isFailure(reply))
        throw new Error(reply);
    return JSON.parse(reply);
}
