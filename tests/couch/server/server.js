// A server of the CouchDB protocol on loopback that keeps its data in a folder, over TLS where it gets a key and a
// certificate: node server.js FOLDER PORT [KEY CERTIFICATE]. Packages are those of the folder it is started in.
const fs = require('fs');
const path = require('path');
const [folder, port, key, certificate] = process.argv.slice(2);
const load = name => require(require.resolve(name, {paths: [process.cwd()]}));

const databases = load('pouchdb').defaults({prefix: folder + path.sep});
const application = load('express')();
application.use('/', load('express-pouchdb')(databases, {
  configPath: path.join(folder, 'config.json'),
  logPath: path.join(folder, 'log.txt'),
}));
const server = key
  ? require('https').createServer({key: fs.readFileSync(key), cert: fs.readFileSync(certificate)}, application)
  : require('http').createServer(application);
server.listen(Number(port), '127.0.0.1', () => console.log('port', server.address().port));
