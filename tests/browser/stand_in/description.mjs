// Checks calls and answers against the description of the API.
import { readFile } from 'node:fs/promises';
import { requirePackage } from '../packages.mjs';

const Ajv = requirePackage('ajv/dist/2020').default;
const kDescription = new URL('../../../calls/openapi.json', import.meta.url);

export class Description {
  #ajv = new Ajv({ strict: false, allErrors: true });
  #checks = new Map();

  static async load() {
    return new Description(JSON.parse(await readFile(kDescription, 'utf8')));
  }

  constructor(document) {
    this.document = document;
    this.#ajv.addFormat('int32', true);
    this.#ajv.addSchema({ $id: 'api', ...document });
  }

  // The errors in a call, as sentences. `headers` are those that the page itself has set.
  complaintsAboutCall({ verb, path, query, headers, body }) {
    const operation = this.document.paths[path]?.[verb.toLowerCase()];
    if (!operation) return [`${verb} ${path} is not described`];
    const parameters = (operation.parameters ?? []).map((parameter) => this.#resolve(parameter));
    const known = new Set(parameters.filter((parameter) => parameter.in === 'query').map(({ name }) => name));
    const complaints = [...query.keys()].filter((name) => !known.has(name)).map((name) => `${path} knows no ${name}`);
    if (headers['currentconn-background'] && !parameters.some(({ name }) => name === 'Currentconn-Background')) {
      complaints.push(`${path} cannot be called in the background`);
    }
    if (!operation.requestBody) return complaints;
    const pointer = `/paths/${escaped(path)}/${verb.toLowerCase()}/requestBody/content/application~1json/schema`;
    return [...complaints, ...this.#complaints(pointer, body)];
  }

  complaintsAboutAnswer({ verb, path, status, type, body }) {
    const answers = this.document.paths[path]?.[verb.toLowerCase()]?.responses;
    if (!answers) return [];
    if (!answers[status]) return [`${verb} ${path} does not answer ${status}`];
    const reference = answers[status].$ref;
    const place = reference ? reference.slice(1) : `/paths/${escaped(path)}/${verb.toLowerCase()}/responses/${status}`;
    const described = this.#resolve(answers[status]).content ?? {};
    if (!described[type]) return [`${path} does not answer ${status} as ${type}`];
    return this.#complaints(`${place}/content/${escaped(type)}/schema`, body);
  }

  #complaints(pointer, value) {
    if (!this.#checks.has(pointer)) this.#checks.set(pointer, this.#ajv.compile({ $ref: `api#${pointer}` }));
    const check = this.#checks.get(pointer);
    if (check(value)) return [];
    return check.errors.map(({ instancePath, message }) => `${pointer}: ${instancePath} ${message}`);
  }

  #resolve(part) {
    if (!part.$ref) return part;
    return part.$ref
      .slice(2)
      .split('/')
      .reduce((place, name) => place[name], this.document);
  }
}

const escaped = (name) => name.replaceAll('~', '~0').replaceAll('/', '~1');
