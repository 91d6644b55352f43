// Java's JAX-WS fills its objects with the forms of the example server: java Formulario.java ADDRESS, after
// wsimport -p venda ADDRESS/wsdl/Formulario
import java.net.URI;
import java.util.List;
import venda.*;

class Formulario {
    public static void main(String[] args) throws Exception {
        var servico = new Formulario_Service(URI.create(args[0] + "/wsdl/Formulario").toURL()).getFormulario();
        Preenche respostas = new Preenche();
        respostas.setEu(servico.constroi());
        for (String[] resposta : new String[][] {{"valor", "12,50"}, {"quantidade", "1.500"}}) {
            CampoRespondido campo = new CampoRespondido();
            campo.setNome(resposta[0]);
            campo.setValue(resposta[1]);
            campo.setPeriferico(Periferico.TECLADO);
            respostas.getCampo().add(campo);
        }
        respostas.setBotaoAcionado("consulta");
        Formulario_Type f = servico.preenche(respostas);
        servico.destroi(respostas.getEu());
        Campo valor = (Campo) f.getCampoOrFocado().get(0), ultimo = (Campo) f.getCampoOrFocado().get(5);
        List<?> veio = List.of(valor.getValor(), valor.isSomenteLeitura(), valor.getPeriferico(), ultimo.getTitulo(),
            f.getCampoOrFocado().get(1), f.getBotao().get(1).getTitulo(), f.getAviso());
        if (!veio.equals(List.of("12.50", false, List.of(Periferico.TECLADO), "Identifica\u00e7\u00e3o", "valor",
            "Consultar pre\u00e7o", "Total: 18,75"))) throw new AssertionError(veio);
    }
}
