import java.io.FileOutputStream;
import java.time.LocalDate;
import java.time.LocalDateTime;
import java.util.LinkedHashMap;
import java.util.Map;
import org.apache.poi.hssf.usermodel.HSSFRichTextString;
import org.apache.poi.hssf.usermodel.HSSFWorkbook;
import org.apache.poi.ss.usermodel.Cell;
import org.apache.poi.ss.usermodel.CellStyle;
import org.apache.poi.ss.usermodel.Font;
import org.apache.poi.ss.usermodel.FormulaError;
import org.apache.poi.ss.usermodel.RichTextString;
import org.apache.poi.ss.usermodel.Row;
import org.apache.poi.ss.usermodel.Sheet;
import org.apache.poi.ss.usermodel.Workbook;
import org.apache.poi.ss.util.CellRangeAddress;
import org.apache.poi.xssf.streaming.SXSSFWorkbook;
import org.apache.poi.xssf.usermodel.XSSFRichTextString;
import org.apache.poi.xssf.usermodel.XSSFWorkbook;

/** Writes a workbook of each kind of cell with Apache POI: MakeWithPoi WRITER FILE. */
public class MakeWithPoi {
    private final Workbook book;
    private final Sheet sheet;
    private int rows = 0;

    private MakeWithPoi(Workbook workbook) {
        book = workbook;
        sheet = book.createSheet("Kinds");
    }

    public static void main(String[] arguments) throws Exception {
        boolean isOld = arguments[1].endsWith(".xls");
        boolean isStreaming = arguments[0].endsWith("streaming");
        boolean from1904 = arguments[0].endsWith("1904");
        XSSFWorkbook whole = isOld ? null : new XSSFWorkbook();
        if (from1904) {
            whole.getCTWorkbook().addNewWorkbookPr().setDate1904(true);
        }
        Workbook book = isOld ? new HSSFWorkbook() : isStreaming ? new SXSSFWorkbook(whole, 5) : whole;
        MakeWithPoi maker = new MakeWithPoi(book);
        maker.addKinds(!isStreaming);
        if (!isStreaming) {
            // Formulas hold what they give once they are evaluated.
            book.getCreationHelper().createFormulaEvaluator().evaluateAll();
        }
        try (FileOutputStream out = new FileOutputStream(arguments[1])) {
            book.write(out);
        }
    }

    private Cell add(String name) {
        Row row = sheet.createRow(rows++);
        row.createCell(0).setCellValue(name);
        return row.createCell(1);
    }

    private Cell add(String name, String code) {
        Cell cell = add(name);
        CellStyle style = book.createCellStyle();
        style.setDataFormat(book.createDataFormat().getFormat(code));
        cell.setCellStyle(style);
        return cell;
    }

    private void addKinds(boolean withFormulas) {
        add("integer").setCellValue(42);
        add("float").setCellValue(1.25);
        add("tiny float").setCellValue(1.5e-300);
        Map<String, String> texts = new LinkedHashMap<>();
        texts.put("text", "plain");
        texts.put("non-ASCII text", "Gr\u00f6\u00dfe \u03c0");
        texts.put("blanks and line feed", "  a\nb ");
        texts.put("empty text", "");
        texts.put("digits with a leading zero", "00123");
        texts.forEach((name, text) -> add(name).setCellValue(text));
        add("true").setCellValue(true);
        add("false").setCellValue(false);
        add("date", "yyyy-mm-dd").setCellValue(LocalDate.of(2021, 1, 31));
        add("date-time", "yyyy-mm-dd hh:mm:ss").setCellValue(LocalDateTime.of(2021, 1, 31, 13, 42, 30));
        add("time", "hh:mm:ss").setCellValue((13 * 3600 + 42 * 60 + 30) / 86400.0);
        add("duration of 30 h", "[h]:mm:ss").setCellValue(1.25);
        add("error").setCellErrorValue(FormulaError.NA.getCode());
        add("number under 0 \"days\"", "0 \"days\"").setCellValue(3);
        if (withFormulas) {
            add("number of a formula").setCellFormula("1+1");
            add("text of a formula").setCellFormula("\"a\"&\"b\"");
            add("truth of a formula").setCellFormula("TRUE()");
            add("error of a formula").setCellFormula("NA()");
        }
        RichTextString rich =
            book instanceof HSSFWorkbook ? new HSSFRichTextString("ab") : new XSSFRichTextString("ab");
        Font bold = book.createFont();
        bold.setBold(true);
        rich.applyFont(1, 2, bold);
        add("rich text").setCellValue(rich);
        Cell merged = add("merged cell");
        merged.setCellValue("across");
        sheet.addMergedRegion(new CellRangeAddress(rows - 1, rows - 1, 1, 2));
        addSheet("Hidden", "hidden sheet", "h");
        book.setSheetHidden(book.getSheetIndex("Hidden"), true);
        addSheet("Behind", "two sheets", "b");
        book.setSheetOrder("Behind", 0);
        book.setActiveSheet(1);
    }

    private void addSheet(String sheetName, String name, String text) {
        Row row = book.createSheet(sheetName).createRow(0);
        row.createCell(0).setCellValue(name);
        row.createCell(1).setCellValue(text);
    }
}
