// The application as this page uses it: scene.py, and what its answers mean.

// The component's own words for an application that is not there.
const NO_APPLICATION = "ERROR: Could not connect to Valdrin to run command";

export function isNoApplication(reply) {
    return reply === NO_APPLICATION;
}

// The application answers a failure with its text, not with an error.
export function isFailure(reply) {
    return reply.startsWith("ERROR: ") || reply.startsWith("Traceback ");
}

// The last line of a failure says what went wrong.
export function lastLine(reply) {
    return reply.trimEnd().split("\n").at(-1);
}

async function evaluate(valdrin, expression) {
    const reply = await valdrin.RunPythonExpression(expression);
    if (isFailure(reply))
        throw new Error(lastLine(reply));
    return reply;
}

// Defines in the application what this page asks for. Gives the
// application's name.
export async function prepare(valdrin) {
    const file = await fetch("scene.py");
    if (!file.ok)
        throw new Error(`scene.py: ${file.statusText}`);
    await valdrin.RunPythonStatements(await file.text());
    return evaluate(valdrin, "page.application");
}

// The scene, after the object `move.name` has gone to `move.x` if there is a
// move: {objects, picture, milliseconds}, of which the last were spent in the
// application.
export async function askForScene(valdrin, move) {
    // A string of JSON is one of Python, too.
    const moved = move ? `${JSON.stringify(move.name)}, ${move.x}` : "";
    return JSON.parse(await evaluate(valdrin, `page.show(${moved})`));
}
